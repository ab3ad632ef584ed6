// Where the time of a render goes: seconds of each stage of the default colour and black-and-white
// renders at three sizes, called in the flow's order. One thread.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "film/develop_color.h"
#include "film/emulsion.h"
#include "film/exposure.h"
#include "film/exposure_mix.h"
#include "film/grain.h"
#include "film/halation.h"
#include "flow/options.h"
#include "flow/stock.h"
#include "optics/camera_filters.h"
#include "optics/lens.h"
#include "optics/white_balance.h"
#include "print/bw_print.h"
#include "print/color_print.h"
#include "profiles/film.h"
#include "profiles/seeds.h"
#include "profiles/store.h"

namespace {

using namespace morva;

constexpr double kLongUm = 36000.0;  // a frame of 135

Image painted(int width, int height) {
  Image scene(height, width, 3);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int k = 0; k < 3; ++k) {
        const double wave = std::sin(40.0 * x / width + k) * std::cos(30.0 * y / width);
        scene.at(y, x, k) = static_cast<float>(0.18 * std::exp2(4.0 * wave));
      }
  return scene;
}

class Stopwatch {
 public:
  // Seconds since the last call.
  void lap(const char* stage) {
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - last_).count();
    std::printf("  %-28s %7.2f s\n", stage, seconds);
    total_ += seconds;
    last_ = std::chrono::steady_clock::now();
  }
  double total() const { return total_; }

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
  double total_ = 0.0;
};

Image in_front_of_the_film(Image scene, const ProfileStore& store, const Json& stock,
                           const Json& opts, RenderContext& ctx, Stopwatch& watch) {
  scene = apply_wb(std::move(scene), stock, opts);
  scene = apply_front_filters(std::move(scene), opts, store);
  scene = apply_lens(std::move(scene), store.load("lenses", "plain"), opts, ctx);
  scene = apply_filters(std::move(scene), stock, opts, store);
  watch.lap("balance, lens, filters");
  return scene;
}

void halate_and_lap(Image& light, const Image& source, const Json& stock, double px_um,
                    Stopwatch& watch) {
  const HalationParams params = halation_params(get(stock, "halation"), px_um, 1.0);
  if (params.active) halate(light, source, params, px_um);
  watch.lap("halation");
}

void run_colour(const ProfileStore& store, const Json& opts, Image scene, Stopwatch& watch) {
  RenderContext ctx;
  const double px_um = kLongUm / scene.w;
  const Json stock = developed_stock(store.load("films", "everyday_400"), opts);
  scene = in_front_of_the_film(std::move(scene), store, stock, opts, ctx, watch);
  apply_exposure_mix(scene, stock, opts);
  Image light = emulsion_blur(std::move(scene), stock, px_um);
  watch.lap("exposure mix, emulsion");
  halate_and_lap(light, mix_channels(light, kLumaR, kLumaG, kLumaB), stock, px_um, watch);
  const DevelopParams params = develop_params(stock, opts, nullptr);
  ColorNegative negative;
  negative.curves = params.curves;
  negative.density = develop_dyes(std::move(light), params);
  watch.lap("development");
  negative.density = adjacency(std::move(negative.density), stock, px_um);
  watch.lap("adjacency");
  negative.density =
      add_grain(std::move(negative.density), stock, opts, px_um, negative.curves, ctx);
  watch.lap("grain");
  const Json paper = store.load("papers", "color_scan");
  print_color(print_params_color(stock, paper, opts), std::move(negative), ctx);
  watch.lap("print");
}

void run_silver(const ProfileStore& store, const Json& opts, Image scene, Stopwatch& watch) {
  RenderContext ctx;
  const double px_um = kLongUm / scene.w;
  const Json stock = developed_stock(store.load("films", "silver_400"), opts);
  scene = in_front_of_the_film(std::move(scene), store, stock, opts, ctx, watch);
  const std::array<float, 3> w = panchromatic_weights(stock);
  Image light = emulsion_blur(mix_channels(scene, w[0], w[1], w[2]), stock, px_um);
  scene = Image();
  watch.lap("emulsion");
  halate_and_lap(light, light, stock, px_um, watch);
  Negative negative;
  negative.curve = negative_curve(stock.at("negative"));
  log_exposure(light.data.data(), light.data.data(), light.data.size(),
               exposure_total(opts, stock));
  negative.curve.density(light.data.data(), light.data.data(), light.data.size());
  watch.lap("development");
  light = adjacency(std::move(light), stock, px_um);
  watch.lap("adjacency");
  negative.density = add_grain(std::move(light), stock, opts, px_um, negative.curve, ctx);
  watch.lap("grain");
  print_bw(print_params_bw(store.load("papers", "bw_neutral"), opts), std::move(negative), ctx);
  watch.lap("print");
}

}  // namespace

int main(int argc, char** argv) {
  const ProfileStore store(argc > 1 ? argv[1] : find_profiles_dir());
  Json opts = merged_options(Json());
  opts["_format_long_um"] = kLongUm;
  opts["_growth_seed"] = stream_key(opts, kFilmStream);
  for (const int width : {1500, 3000, 6000}) {
    for (const bool colour : {true, false}) {
      std::printf("%d x %d, %s\n", width, width / 3 * 2, colour ? "colour" : "black and white");
      Image scene = painted(width, width / 3 * 2);
      Stopwatch watch;
      if (colour)
        run_colour(store, opts, std::move(scene), watch);
      else
        run_silver(store, opts, std::move(scene), watch);
      std::printf("  %-28s %7.2f s\n", "all", watch.total());
    }
  }
  return 0;
}
