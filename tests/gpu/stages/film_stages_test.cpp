// The roads from an exposed film to a positive on the GPU, against the CPU's, grain left out: films
// and papers of the tree on a small picture with lights, edges and deep shadows.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "flow/develop_print.h"
#include "gpu/develop_print.h"
#include "gpu/platform/vulkan_platform.h"
#include "gpu/pointwise.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/software_device.h"
#include "profiles/film.h"

namespace morva::gpu {
namespace {

constexpr PixelSize kSize = {64, 48};
constexpr double kUmPerPx = 30.0;

// Twelve stops of ramp with coloured noise, a lamp far above white and a hard-edged shadow.
Image small_scene() {
  Image scene = noise_picture(kSize, 3, 0.7f, 1.3f);
  for (int y = 0; y < scene.h; ++y)
    for (int x = 0; x < scene.w; ++x) {
      float light = std::exp2(static_cast<float>(x) / 64.0f * 9.0f - 7.5f);
      if (std::hypot(x - 20, y - 14) < 4.0) light = 40.0f;
      if (x > 36 && x < 50 && y > 24) light *= 0.02f;
      for (int k = 0; k < 3; ++k) scene.at(y, x, k) *= light;
    }
  return scene;
}

struct Road {
  const char* film;
  const char* paper;
  Json options = Json::object();  // beside grain_mult
  const char* dev = "standard";
  bool uneven = false;
};

// Measured on the software GPU: 7e-7.
constexpr double kTolerance = 5e-6;

// A stock that is ready for development, its paper, and the options.
struct Bench {
  Json stock, paper, opts;
  Image field = noise_picture(kSize, 1, -0.4f, 0.5f, 9);
  RenderContext ctx;
  StageTimes times;
  const Image* uneven = nullptr;

  explicit Bench(const Road& road)
      : stock(resolve_film(tree().load("films", road.film), 0.0, road.dev, 20.0, 0.0, 38.0)),
        paper(tree().load("papers", road.paper)),
        opts(road.options) {
    opts["grain_mult"] = 0.0;
    if (road.uneven) uneven = &field;
    for (const char* later : {"repro", "surface"}) paper.erase(later);
  }
  Image on_gpu(GImage (*way)(const Frame&, GImage) = to_print) {
    const Frame frame = {software_device(), stock, paper, opts, kUmPerPx, uneven, ctx, times};
    return frame.device.download(way(frame, frame.device.upload(small_scene())));
  }
  Image on_cpu() {
    return morva::develop_print(small_scene(), stock, paper, opts, kUmPerPx, uneven, ctx, nullptr);
  }
  static GImage to_print(const Frame& frame, GImage work) {
    return develop_print(frame, std::move(work), nullptr);
  }
};

// The eye sees about the square root of light.
double largest_difference(const Image& a, const Image& b) {
  EXPECT_EQ(a.data.size(), b.data.size());
  double worst = 0.0;
  for (std::size_t i = 0; i < a.data.size(); ++i)
    worst = std::max<double>(worst, std::fabs(std::sqrt(a.data[i]) - std::sqrt(b.data[i])));
  return worst;
}

TEST(FilmRoads, GpuAgreesWithCpu) {
  const Road roads[] = {
      {"silver_400", "bw_warm", {{"grade", 3.0}, {"print_black", 0.5}}, "standard", true},
      {"daylight_100", "color_gloss", {{"ev", 1.0}}, "standard", true},
      {"lamplight_500", "color_pearl", {{"print_ev", -0.5}, {"print_white", 0.7}}, "bleach_bypass"},
      {"interlayer_200", "color_scan", {{"interlayer", true}}},
      {"everyday_400", "bw_neutral"},
      {"slide_50", "scan_drum", {{"print_ev", 0.4}}},
      {"slide_infrared", "reversal_gloss", Json::object(), "standard", true},
      // The texture of a pack and the mottle of its tone are the CPU's own draws.
      {"instant_square", "scan_flatbed"},
      {"instant_mono", "scan_flatbed"},
      {"instant_wide", "scan_flatbed", {{"textured", true}}},
      {"instant_mono", "scan_flatbed", {{"textured", true}}}};
  for (const Road& road : roads) {
    Bench bench(road);
    if (bench.opts.erase("textured") > 0) bench.opts["grain_mult"] = 1.0;
    const Image cpu = bench.on_cpu();
    const auto [low, high] = std::minmax_element(cpu.data.begin(), cpu.data.end());
    EXPECT_GT(*high - *low, 0.5f);  // there is a picture to compare
    const double worst = largest_difference(bench.on_gpu(), cpu);
    std::printf("%s on %s: %.2g\n", road.film, road.paper, worst);
    EXPECT_LT(worst, kTolerance) << road.film;
  }
}

TEST(EmulsionOnGpu, GlassBaseThrowsItsRing) {
  Bench bench(Road{"silver_125", "bw_neutral"});
  bench.stock["halation"] = {{"strength", 0.3}, {"radius_um", 90.0}, {"glass_mm", 1.5}};
  const Image ringed = bench.on_gpu();
  EXPECT_LT(largest_difference(ringed, bench.on_cpu()), kTolerance);
  bench.stock["halation"].erase("glass_mm");
  EXPECT_GT(largest_difference(ringed, bench.on_cpu()), 1e-3);
}

TEST(NegativeOnGpu, RefusesWhatItCannotDoAndStopsWhenTheHostCancels) {
  EXPECT_THROW(Bench(Road{"dry_plate", "bw_neutral"}).on_gpu(develop_bw), std::logic_error);
  Bench bench(Road{"silver_125", "bw_neutral", Json::object(), "standard", true});
  bench.field = Image(3, 3, 1);
  EXPECT_THROW(bench.on_gpu(), std::logic_error);
  const std::int32_t raised = 1;
  bench.uneven = nullptr;
  bench.ctx.cancel = &raised;
  EXPECT_THROW(bench.on_gpu(), Cancelled);
}

// Scanning changes the size, and blurs on both sides of it.
TEST(ScanOnGpu, FileAgreesWithCpu) {
  const Json paper = {
      {"scan", {{"mtf", 12.0}, {"long_px", 41}, {"sharpen", 0.6}, {"highlight_clip", 0.1}}}};
  const Image slide = noise_picture(kSize, 3, 0.0f, 1.0f);
  const Image gpu = on_software_device(slide, scan_finish, paper);
  EXPECT_EQ(41, gpu.w);
  EXPECT_LT(largest_difference(gpu, morva::scan_finish(slide, paper)), 1e-5);
}

// The CPU's flow with its per-pixel loops handed over makes the same sheets.
TEST(Pointwise, CpuFlowMakesTheSameSheet) {
  PointwiseDx12 pointwise(true, platform::vulkan_platform());
  EXPECT_TRUE(pointwise.description().starts_with("DX12 "));
  for (const Road& road : {Road{"silver_400", "bw_warm", Json::object(), "standard", true},
                           Road{"daylight_100", "color_gloss", Json::object(), "standard", true}}) {
    Bench bench(road);
    const Image cpu = bench.on_cpu();
    bench.ctx.pointwise = &pointwise;
    EXPECT_LT(largest_difference(bench.on_cpu(), cpu), kTolerance) << road.film;
    EXPECT_TRUE(bench.ctx.pointwise_used);
  }
  Image ramp(1, 256, 1);
  for (int x = 0; x < 256; ++x) ramp.at(0, x) = static_cast<float>(x) / 250.0f;
  const Image encoded = pointwise.srgb_encode(ramp);
  EXPECT_NEAR(0.735357, encoded.at(0, 125), 1e-5);  // of 0.5, by IEC 61966-2-1
  EXPECT_EQ(encoded.at(0, 250), encoded.at(0, 255));
}

}  // namespace
}  // namespace morva::gpu
