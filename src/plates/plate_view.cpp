#include "plates/plate_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "film/develop_bw.h"
#include "image/elementary.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

struct PlateViewParams {
  double floor = 0.0;    // density that looks black
  double scatter = 0.3;  // of light by silver, against its absorption
  double full = 1.0;     // share scattered by the densest silver
  double gain = 1.0;     // of the light that the plate is seen by
  std::array<float, 3> silver = {0.92f, 0.90f, 0.84f};   // colour of the densest silver
  std::array<float, 3> base = {0.012f, 0.016f, 0.018f};  // and of what lies behind the plate
};

void read_colour(const Json& view, const char* key, std::array<float, 3>& colour) {
  const auto numbers = three_numbers(get(view, key), key);
  if (!numbers) return;
  for (int k = 0; k < 3; ++k) colour[k] = static_cast<float>((*numbers)[k]);
}

PlateViewParams plate_view_params(const Json& film, const Json& paper, const Json& options,
                                  double floor) {
  constexpr double brightest_ev = 60.0;
  const Json& view = get_object(paper, "plate_view");
  PlateViewParams params;
  params.floor = floor;
  params.scatter = get_number(view, "scatter", 0.3);
  const double dmax = as_number(get(get(film, "negative"), "dmax"), "negative.dmax");
  const double range = std::max(dmax - floor, 1e-6);
  params.full = std::max(1.0 - elementary::pow(10.0, -range * params.scatter), 1e-9);
  const double print_ev =
      std::clamp(get_number(options, "print_ev", 0.0), -brightest_ev, brightest_ev);
  params.gain = elementary::pow(2.0, -print_ev);
  read_colour(view, "silver", params.silver);
  read_colour(view, "base", params.base);
  std::array<float, 3> tint = {1.0f, 1.0f, 1.0f};
  read_colour(film, "_silver_tint", tint);
  for (int k = 0; k < 3; ++k) params.silver[k] *= tint[k];
  return params;
}

}  // namespace

double positive_ev(const Json& paper) {
  return get_number(get_object(paper, "plate_view"), "positive_ev", -1.5);
}

Image plate_view(const Image& density, const Json& film, const Json& paper, const Json& options,
                 double floor) {
  const PlateViewParams params = plate_view_params(film, paper, options, floor);
  const auto black = static_cast<float>(params.floor);
  const auto scatter = static_cast<float>(params.scatter);
  const auto full = static_cast<float>(params.full);
  const auto gain = static_cast<float>(params.gain);
  Image view(density.h, density.w, 3);
  std::vector<float> passed(static_cast<std::size_t>(density.w));
  for (int y = 0; y < density.h; ++y) {
    const float* d = &density.data[static_cast<std::size_t>(y) * density.w];
    for (int x = 0; x < density.w; ++x) passed[x] = -std::max(d[x] - black, 0.0f) * scatter;
    elementary::exp10f(passed.data(), passed.data(), passed.size());
    float* p = &view.data[static_cast<std::size_t>(y) * view.row_samples()];
    for (int x = 0; x < density.w; ++x, p += 3) {
      const float light = (1.0f - passed[x]) / full;
      for (int k = 0; k < 3; ++k) {
        const float v = (params.silver[k] * light + params.base[k]) * gain;
        p[k] = v > 0.0f ? std::min(v, 1.0f) : 0.0f;  // what is no number is black
      }
    }
  }
  return view;
}

double plate_floor(const Json& film, const Json& options, double px_um, double dmin, int long_px,
                   RenderContext& ctx) {
  constexpr int largest = 256;
  if (get_number(options, "grain_mult", 1.0) <= 0.0) return dmin;
  const int n = std::min(std::max(long_px, 1), largest);
  Json plain = options;
  plain["plate_pour"] = 0.0;
  plain["halation_mult"] = 0.0;
  if (has(plain, "_format_long_um"))
    plain["_format_long_um"] = get_number(plain, "_format_long_um", 0.0) * n / std::max(long_px, 1);
  const Negative black = develop_bw(Image(n, n, 3), film, plain, px_um, nullptr, ctx);
  double sum = 0.0;
  for (const float d : black.density.data) sum += static_cast<double>(d) + black.curve.dmid;
  return sum / static_cast<double>(black.density.data.size());
}

Image plate_positive(const Image& scene, const Json& film, const Json& paper, const Json& options,
                     double px_um, RenderContext& ctx) {
  Json exposed = options;
  exposed["ev"] = get_number(options, "ev", 0.0) + positive_ev(paper);
  Negative plate = develop_bw(scene, film, exposed, px_um, nullptr, ctx);
  check_cancel(ctx);
  const auto mid = static_cast<float>(plate.curve.dmid);
  for (float& d : plate.density.data) d += mid;
  const double floor =
      plate_floor(film, options, px_um, plate.curve.dmin, std::max(scene.h, scene.w), ctx);
  return plate_view(plate.density, film, paper, options, floor);
}

}  // namespace morva
