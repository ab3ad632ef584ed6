// Grain on the GPU: the published draws, the statistics of the CPU's grain, and strips that leave
// no trace.

#include "gpu/stages/grain.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "film/grain.h"
#include "film/granularity.h"
#include "gpu/gpu_budget.h"
#include "gpu/stages/growth_simulation.h"
#include "gpu/stages/plain_philox.h"
#include "gpu/stages/software_device.h"
#include "image/errors.h"
#include "image/pairwise_sum.h"
#include "profiles/store.h"

namespace morva::gpu {
namespace {

// Known answers of the generator's authors (Random123, philox4x32 with ten rounds).
TEST(Philox, GivesThePublishedWords) {
  using plain::Words;
  EXPECT_EQ(plain::philox({0, 0, 0, 0}, {0, 0}),
            (Words{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}));
  EXPECT_EQ(plain::philox({~0u, ~0u, ~0u, ~0u}, {~0u, ~0u}),
            (Words{0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}));
  EXPECT_EQ(
      plain::philox({0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}, {0xa4093822, 0x299f31d0}),
      (Words{0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}));
  const GImage first = normal_rows(software_device(), {0, 0}, 0, 1, 1);
  EXPECT_NEAR(software_device().download(first).data[0], plain::normal_of({0x6627e8d5, 0xe169c58d}),
              1e-5);
}

const ProfileStore& tree() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

// A film's layers, one of silver or three of dye.
std::vector<HdCurve> curves_of(const Json& film) {
  if (get_text(film, "type", "") == "bw") return {negative_curve(get(film, "negative"))};
  std::vector<HdCurve> curves;
  for (const char* layer : {"r", "g", "b"})
    curves.push_back(layer_curve(get(get(film, "layers"), layer)));
  return curves;
}

// A sheet of one density above base.
Image sheet_of(const std::vector<HdCurve>& curves, PixelSize size, double above) {
  Image sheet(size.h, size.w, static_cast<std::int32_t>(curves.size()));
  for (std::size_t i = 0; i < sheet.data.size(); ++i)
    sheet.data[i] = static_cast<float>(curves[i % curves.size()].dmin + above);
  return sheet;
}

// Pixels of one size on the film.
Json options_of(const char* engine, PixelSize size, double um_per_px) {
  return {{"grain_engine", engine}, {"_format_long_um", long_side(size) * um_per_px}, {"seed", 5}};
}

Image on_gpu(const Image& sheet, const Json& film, const Json& options, double um_per_px,
             const std::vector<HdCurve>& curves, std::int32_t cancel = 0) {
  Device& device = software_device();
  RenderContext ctx;
  ctx.cancel = &cancel;
  StageTimes times;
  const Json paper;
  const Frame frame = {device, film, paper, options, um_per_px, nullptr, ctx, times};
  const GImage density = device.upload(sheet);
  return device.download(
      curves.size() == 1 ? add_grain(frame, density, curves[0])
                         : add_grain(frame, density, std::array{curves[0], curves[1], curves[2]}));
}

Image on_cpu(const Image& sheet, const Json& film, const Json& options, double um_per_px,
             const std::vector<HdCurve>& curves) {
  if (curves.size() == 1)
    return morva::add_grain(sheet, film, options, um_per_px, curves[0], RenderContext());
  return morva::add_grain(sheet, film, options, um_per_px,
                          std::array{curves[0], curves[1], curves[2]}, RenderContext());
}

double mean_of(const Image& plane) {
  return mean_and_deviation(plane.data.data(), plane.data.size()).mean;
}

// Mean density and granularity through the 48 micrometre aperture of every layer.
void expect_cpu_statistics(const char* name, const char* engine, PixelSize size, double um_per_px) {
  const Json film = tree().load("films", name);
  const std::vector<HdCurve> curves = curves_of(film);
  const Json options = options_of(engine, size, um_per_px);
  const Image sheet = sheet_of(curves, size, 1.0);
  const Image gpu = on_gpu(sheet, film, options, um_per_px, curves);
  const Image cpu = on_cpu(sheet, film, options, um_per_px, curves);
  for (std::int32_t k = 0; k < sheet.c; ++k) {
    const Image a = extract_channel(gpu, k), b = extract_channel(cpu, k);
    const double grain_gpu = rms_aperture(a, um_per_px), grain_cpu = rms_aperture(b, um_per_px);
    std::printf("%-20s %-8s %4.1f um, layer %d: RMS x 1000 %6.2f, CPU %6.2f; mean %.4f, CPU %.4f\n",
                name, engine, um_per_px, k, 1e3 * grain_gpu, 1e3 * grain_cpu, mean_of(a),
                mean_of(b));
    EXPECT_NEAR(mean_of(a) / mean_of(b), 1.0, 0.005) << name << " " << um_per_px << " " << k;
    EXPECT_NEAR(grain_gpu / grain_cpu, 1.0, 0.05) << name << " " << um_per_px << " " << k;
  }
}

// The finest and the coarsest of each kind, sub-sample by sub-sample.
TEST(GpuGrain, GrownHasTheCpusStatistics) {
  for (const char* name : {"silver_50", "silver_3200", "slide_50", "daylight_1600"})
    expect_cpu_statistics(name, "growth", {512, 512}, 6.0);
}

TEST(GpuGrain, ByMomentsAndClassicHasTheCpusStatistics) {
  for (const char* name : {"silver_400", "everyday_400"}) {
    expect_cpu_statistics(name, "growth", {600, 600}, 20.0);
    expect_cpu_statistics(name, "classic", {512, 512}, 6.0);
    expect_cpu_statistics(name, "classic", {600, 600}, 20.0);
  }
}

bool same_bits(const Image& a, const Image& b) {
  return a.data == b.data;
}

// Strips of the fewest rows that there are, one strip of all, and kernels cut into many bands.
TEST(GpuGrain, ShowsNeitherStripsNorBands) {
  Device& device = software_device();
  RenderContext ctx;
  Image picture(61, 70, 1);
  for (int y = 0; y < picture.h; ++y)
    for (int x = 0; x < picture.w; ++x) picture.at(y, x) = 0.02f * static_cast<float>(y + x);
  const GImage mean = device.upload(picture);
  const auto silver = [&](std::uint64_t strip_samples) {
    return device.download(
        grow_silver(device, mean, {3, 2.0}, {0.5, 7.0, 0.1}, {77, ctx, strip_samples}));
  };
  const auto dye = [&](std::uint64_t strip_samples) {
    return device.download(
        grow_dye(device, mean, {3, 2.0}, {0.05, 2.5, 8.4, 0.05}, {77, ctx, strip_samples}));
  };
  const Image whole_silver = silver(kStripSamples), whole_dye = dye(kStripSamples);
  for (const std::uint64_t samples : {std::uint64_t{1}, std::uint64_t{210} * 100}) {
    EXPECT_TRUE(same_bits(whole_silver, silver(samples))) << samples;
    EXPECT_TRUE(same_bits(whole_dye, dye(samples))) << samples;
  }
  gpu_budget().dispatch_ms = 0.1;
  EXPECT_TRUE(same_bits(whole_silver, silver(kStripSamples)));
  EXPECT_TRUE(same_bits(whole_dye, dye(kStripSamples)));
  gpu_budget() = GpuBudget{};
}

TEST(GpuGrain, FollowsSeedAndOptions) {
  const Json silver = tree().load("films", "silver_125");
  const std::vector<HdCurve> curves = curves_of(silver);
  const PixelSize size = {61, 40};
  const Image sheet = sheet_of(curves, size, 0.8);
  for (const char* engine : {"growth", "classic"}) {
    const auto with = [&](const Json& more) {
      Json options = options_of(engine, size, 6.0);
      options.update(more);
      return on_gpu(sheet, silver, options, 6.0, curves);
    };
    const Image grainy = with(Json::object());
    EXPECT_FALSE(same_bits(grainy, sheet));
    EXPECT_TRUE(same_bits(grainy, with(Json::object())));
    EXPECT_FALSE(same_bits(grainy, with({{"seed", 6}})));
    EXPECT_TRUE(same_bits(sheet, with({{"grain_mult", 0.0}})));
  }
  EXPECT_THROW(on_gpu(sheet, silver, options_of("growth", size, 6.0), 6.0, curves, 1), Cancelled);
}

}  // namespace
}  // namespace morva::gpu
