// Grain on the GPU: the published draws, the statistics of the CPU's grain, and strips that leave
// no trace.

#include "gpu/stages/grain.h"

#include <gtest/gtest.h>

#include <cstdio>
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

// A sheet of one density above base on a film of the tree, of silver or of three dyes.
struct Sheet {
  Json film;
  Json options;
  double um_per_px;
  std::vector<HdCurve> curves;
  Image density;

  Sheet(const char* name, const char* engine, PixelSize size, double pixel_um, double above)
      : film(tree().load("films", name)),
        options({{"grain_engine", engine},
                 {"_format_long_um", long_side(size) * pixel_um},
                 {"seed", 5}}),
        um_per_px(pixel_um) {
    if (get_text(film, "type", "") == "bw") {
      curves = {negative_curve(get(film, "negative"))};
    } else {
      for (const char* layer : {"r", "g", "b"})
        curves.push_back(layer_curve(get(get(film, "layers"), layer)));
    }
    density = Image(size.h, size.w, static_cast<std::int32_t>(curves.size()));
    for (std::size_t i = 0; i < density.data.size(); ++i)
      density.data[i] = static_cast<float>(curves[i % curves.size()].dmin + above);
  }
  std::array<HdCurve, 3> dyes() const { return {curves[0], curves[1], curves[2]}; }

  Image on_gpu(const Json& more = Json::object(), std::int32_t cancel = 0) const {
    RenderContext ctx;
    ctx.cancel = &cancel;
    StageTimes times;
    Json opts = options;
    opts.update(more);
    const Json paper;
    const Frame frame = {software_device(), film, paper, opts, um_per_px, nullptr, ctx, times};
    const GImage sheet = frame.device.upload(density);
    return frame.device.download(curves.size() == 1 ? add_grain(frame, sheet, curves[0])
                                                    : add_grain(frame, sheet, dyes()));
  }
  Image on_cpu() const {
    const RenderContext ctx;
    return curves.size() == 1 ? morva::add_grain(density, film, options, um_per_px, curves[0], ctx)
                              : morva::add_grain(density, film, options, um_per_px, dyes(), ctx);
  }
};

double mean_of(const Image& plane) {
  return mean_and_deviation(plane.data.data(), plane.data.size()).mean;
}

// Mean density and granularity through the 48 micrometre aperture of every layer.
void expect_cpu_statistics(const char* name, const char* engine, PixelSize size, double um_per_px) {
  const Sheet sheet(name, engine, size, um_per_px, 1.0);
  const Image gpu = sheet.on_gpu(), cpu = sheet.on_cpu();
  for (std::int32_t k = 0; k < gpu.c; ++k) {
    const Image a = extract_channel(gpu, k), b = extract_channel(cpu, k);
    const double grain_gpu = rms_aperture(a, um_per_px), grain_cpu = rms_aperture(b, um_per_px);
    std::printf("%-20s %-8s %4.1f um, layer %d: RMS x 1000 %6.2f, CPU %6.2f; mean %.4f, CPU %.4f\n",
                name, engine, um_per_px, k, 1e3 * grain_gpu, 1e3 * grain_cpu, mean_of(a),
                mean_of(b));
    EXPECT_NEAR(mean_of(a) / mean_of(b), 1.0, 0.005) << name << " " << um_per_px << " " << k;
    EXPECT_NEAR(grain_gpu / grain_cpu, 1.0, 0.05) << name << " " << um_per_px << " " << k;
  }
}

// The finest and the coarsest of each kind, sub-sample by sub-sample; then by moments and classic.
TEST(GpuGrain, HasTheCpusStatistics) {
  for (const char* name : {"silver_50", "silver_3200"})
    expect_cpu_statistics(name, "growth", {512, 512}, 6.0);
  for (const char* name : {"slide_50", "daylight_1600"})
    expect_cpu_statistics(name, "growth", {512, 256}, 6.0);
  for (const char* name : {"silver_400", "everyday_400"}) {
    expect_cpu_statistics(name, "growth", {600, 600}, 20.0);
    expect_cpu_statistics(name, "classic", {512, 512}, 6.0);
    expect_cpu_statistics(name, "classic", {600, 600}, 20.0);
  }
}

// Strips of the fewest rows that there are, one strip of all, and kernels cut into many bands.
TEST(GpuGrain, ShowsNeitherStripsNorBands) {
  Device& device = software_device();
  const RenderContext ctx;
  Image picture(61, 70, 1);
  for (int y = 0; y < picture.h; ++y)
    for (int x = 0; x < picture.w; ++x) picture.at(y, x) = 0.02f * static_cast<float>(y + x);
  const GImage mean = device.upload(picture);
  const auto grown = [&](std::uint64_t strip_samples, double dispatch_ms) {
    gpu_budget().dispatch_ms = dispatch_ms;
    const GrowthDraws draws = {77, ctx, strip_samples};
    const GImage silver = grow_silver(device, mean, {3, 2.0}, {0.5, 7.0, 0.1}, draws);
    const GImage dye = grow_dye(device, mean, {3, 2.0}, {0.05, 2.5, 8.4, 0.05}, draws);
    return std::pair{device.download(silver).data, device.download(dye).data};
  };
  const auto whole = grown(kStripSamples, 0.0);
  EXPECT_TRUE(whole == grown(1, 0.0));
  EXPECT_TRUE(whole == grown(210 * 100, 0.0));
  EXPECT_TRUE(whole == grown(kStripSamples, 0.1));
  gpu_budget() = GpuBudget{};
}

TEST(GpuGrain, FollowsSeedAndOptions) {
  for (const char* engine : {"growth", "classic"}) {
    const Sheet sheet("silver_125", engine, {61, 40}, 6.0, 0.8);
    const Image grainy = sheet.on_gpu();
    EXPECT_NE(grainy.data, sheet.density.data);
    EXPECT_EQ(grainy.data, sheet.on_gpu().data);
    EXPECT_NE(grainy.data, sheet.on_gpu({{"seed", 6}}).data);
    EXPECT_EQ(sheet.density.data, sheet.on_gpu({{"grain_mult", 0.0}}).data);
  }
  const Sheet sheet("silver_125", "growth", {61, 40}, 6.0, 0.8);
  EXPECT_THROW(sheet.on_gpu(Json::object(), 1), Cancelled);
}

}  // namespace
}  // namespace morva::gpu
