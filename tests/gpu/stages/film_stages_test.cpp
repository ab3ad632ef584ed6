// The roads from an exposed film to a positive on the GPU, against the CPU's, grain left out: films
// and papers of the tree on a small picture with lights, edges and deep shadows.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "film/develop_bw.h"
#include "flow/develop_print.h"
#include "gpu/platform/vulkan_platform.h"
#include "gpu/pointwise.h"
#include "gpu/stages/bw_print.h"
#include "gpu/stages/color_print.h"
#include "gpu/stages/develop_bw.h"
#include "gpu/stages/develop_color.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/exposure_mix.h"
#include "gpu/stages/instant_positive.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/scan.h"
#include "gpu/stages/slide.h"
#include "gpu/stages/software_device.h"
#include "image/elementary.h"
#include "profiles/film.h"
#include "profiles/store.h"

namespace morva::gpu {
namespace {

constexpr PixelSize kSize = {64, 48};
constexpr double kUmPerPx = 30.0;

const ProfileStore& tree() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

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
  Image scene = small_scene();
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
  }
  Frame frame() {
    return {software_device(), stock, paper, opts, kUmPerPx, uneven, ctx, times};
  }
};

Image on_gpu(Bench& bench) {
  const Frame frame = bench.frame();
  GImage work = frame.device.upload(bench.scene);
  const std::string type = get_text(bench.stock, "type", "");
  const std::string paper_type = get_text(bench.paper, "type", "");
  if (type != "bw") apply_exposure_mix(frame, work);
  GImage sheet;
  if (type == "slide" && paper_type == "reversal_paper") {
    sheet = print_reversal(frame, work);
  } else if (type == "slide") {
    sheet = scan_positive(frame.device, develop_slide(frame, work), bench.paper, bench.opts);
  } else if (type == "instant") {
    sheet = is_mono_instant(bench.stock) ? develop_instant_mono(frame, work)
                                         : develop_instant(frame, work);
  } else if (type == "bw") {
    sheet = print_bw(frame, print_params_bw(bench.paper, bench.opts), develop_bw(frame, work));
  } else if (paper_type.starts_with("bw")) {
    sheet = print_color_on_bw(frame, work);
  } else {
    sheet = print_color(frame, print_params_color(bench.stock, bench.paper, bench.opts),
                        develop_color(frame, work));
  }
  return frame.device.download(sheet);
}

Image on_cpu(Bench& bench) {
  Json paper = bench.paper;
  for (const char* later : {"repro", "surface"}) paper.erase(later);
  return develop_print(bench.scene, bench.stock, paper, bench.opts, kUmPerPx, bench.uneven,
                       bench.ctx, nullptr);
}

// The eye sees about the square root of light.
double largest_difference(const Image& a, const Image& b) {
  EXPECT_EQ(a.data.size(), b.data.size());
  double worst = 0.0;
  for (std::size_t i = 0; i < a.data.size(); ++i)
    worst = std::max<double>(worst, std::fabs(std::sqrt(a.data[i]) - std::sqrt(b.data[i])));
  return worst;
}

class FilmRoads : public ::testing::TestWithParam<Road> {};

TEST_P(FilmRoads, GpuAgreesWithCpu) {
  Bench bench(GetParam());
  const Image gpu = on_gpu(bench);
  const Image cpu = on_cpu(bench);
  const auto [low, high] = std::minmax_element(cpu.data.begin(), cpu.data.end());
  EXPECT_GT(*high - *low, 0.5f);  // there is a picture to compare
  const double worst = largest_difference(gpu, cpu);
  std::printf("%s on %s: %.2g\n", GetParam().film, GetParam().paper, worst);
  EXPECT_LT(worst, kTolerance);
}

INSTANTIATE_TEST_SUITE_P(
    All, FilmRoads,
    ::testing::Values(
        Road{"silver_400", "bw_warm", {{"grade", 3.0}, {"print_black", 0.5}}, "standard", true},
        Road{"daylight_100", "color_gloss", {{"ev", 1.0}}, "standard", true},
        Road{"lamplight_500",
             "color_pearl",
             {{"print_ev", -0.5}, {"print_white", 0.7}},
             "bleach_bypass"},
        Road{"interlayer_200", "color_scan", {{"interlayer", true}}},
        Road{"everyday_400", "bw_neutral"}, Road{"slide_50", "scan_drum", {{"print_ev", 0.4}}},
        Road{"slide_infrared", "reversal_gloss", Json::object(), "standard", true},
        Road{"instant_square", "scan_flatbed"}, Road{"instant_mono", "scan_flatbed"}),
    [](const auto& road) { return std::string(road.param.film); });

// The texture of a pack and the mottle of its tone are the CPU's own draws.
TEST(InstantOnGpu, TextureIsTheCpusOwn) {
  for (const char* film : {"instant_wide", "instant_mono"}) {
    Bench bench(Road{film, "scan_flatbed"});
    bench.opts["grain_mult"] = 1.0;
    EXPECT_LT(largest_difference(on_gpu(bench), on_cpu(bench)), kTolerance) << film;
  }
}

TEST(EmulsionOnGpu, GlassBaseThrowsItsRing) {
  Bench bench(Road{"silver_125", "bw_neutral"});
  bench.stock["halation"] = {{"strength", 0.3}, {"radius_um", 90.0}, {"glass_mm", 1.5}};
  const Image ringed = on_gpu(bench);
  EXPECT_LT(largest_difference(ringed, on_cpu(bench)), kTolerance);
  bench.stock["halation"].erase("glass_mm");
  EXPECT_GT(largest_difference(ringed, on_cpu(bench)), 1e-3);
}

TEST(NegativeOnGpu, RefusesWhatItCannotDo) {
  Bench plate(Road{"dry_plate", "bw_neutral"});
  EXPECT_THROW(on_gpu(plate), std::logic_error);
  Bench uneven(Road{"silver_125", "bw_neutral", Json::object(), "standard", true});
  uneven.field = Image(3, 3, 1);
  EXPECT_THROW(on_gpu(uneven), std::logic_error);
}

TEST(NegativeOnGpu, StopsWhenTheHostCancels) {
  Bench bench(Road{"silver_125", "bw_neutral"});
  const std::int32_t raised = 1;
  bench.ctx.cancel = &raised;
  EXPECT_THROW(on_gpu(bench), Cancelled);
}

// Scanning changes the size, and blurs on both sides of it.
TEST(ScanOnGpu, FileAgreesWithCpu) {
  const Json paper = {
      {"scan", {{"mtf", 12.0}, {"long_px", 41}, {"sharpen", 0.6}, {"highlight_clip", 0.1}}}};
  const Image slide = noise_picture(kSize, 3, 0.0f, 1.0f);
  Device& device = software_device();
  const Image gpu = device.download(scan_finish(device, device.upload(slide), paper));
  const Image cpu = scan_finish(slide, paper);
  EXPECT_EQ(41, gpu.w);
  EXPECT_LT(largest_difference(gpu, cpu), 1e-5);
}

// The CPU's flow with its per-pixel loops handed over makes the same sheets.
TEST(Pointwise, CpuFlowMakesTheSameSheet) {
  PointwiseDx12 pointwise(true, platform::vulkan_platform());
  EXPECT_TRUE(pointwise.description().starts_with("DX12 "));
  for (const Road& road : {Road{"silver_400", "bw_warm", Json::object(), "standard", true},
                           Road{"daylight_100", "color_gloss", Json::object(), "standard", true}}) {
    Bench bench(road);
    const Image cpu = on_cpu(bench);
    bench.ctx.pointwise = &pointwise;
    EXPECT_LT(largest_difference(on_cpu(bench), cpu), kTolerance) << road.film;
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
