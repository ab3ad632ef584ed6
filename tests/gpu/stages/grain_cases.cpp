// The kernels of grain: draws against a plain Philox, everything else against the CPU's functions
// for the same draws.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <utility>

#include "film/classic_grain.h"
#include "film/growth_grain.h"
#include "film/normal_deviate.h"
#include "gpu/stages/classic_grain.h"
#include "gpu/stages/counter_noise.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/growth_grain.h"
#include "gpu/stages/growth_simulation.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/plain_philox.h"
#include "gpu/stages/sums.h"
#include "image/elementary.h"
#include "image/resample.h"

namespace morva::gpu {

namespace {

constexpr std::uint64_t kHash = 0x299f31d0a4093822u;
constexpr double kBase = 0.1, kMost = 2.3;

Compared compared(Device& device, const GImage& gpu, const Image& cpu) {
  return {device.download(gpu).data, cpu.data};
}

// Rows so far down the sheet that their numbers pass 32 bits.
Compared normals(Device& device, PixelSize size) {
  constexpr std::uint32_t kFirst = 0xf0000000u;
  const CounterDraws draws = {kHash, kClassicTag};
  Image cpu(size.h, size.w, 1);
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const std::uint64_t number = std::uint64_t{kFirst} * static_cast<std::uint64_t>(size.w) + i;
    cpu.data[i] = plain::normal_of(plain::words_of(draws, number));
  }
  return compared(device, normal_rows(device, draws, kFirst, size.h, size.w), cpu);
}

// Both make their field of the same normals.
Compared classic(Device& device, PixelSize size) {
  const Image density = noise_picture(size, 3, -0.2f, 2.9f);
  const Json grain = {{"size_um", 9.0}, {"amount", 0.06}, {"layer_scale", {0.0, 1.0, 0.0}}};
  const std::array<double, 3> dmin = {kBase, kBase, kBase}, dmax = {kMost, kMost, kMost};
  const Image noise = noise_picture(size, 1, -1.0f, 1.0f, 7);
  const Image cpu = add_grain_color(density, dmin, dmax, grain, 6.0, 1.0, 1.0,
                                    [&](std::size_t) { return noise.data; });

  const GrainLayer layer = grain_layers_color(dmin, dmax, grain, 6.0, 1.0, 1.0).at(0);
  const GImage field = device.upload(noise);
  const Plane plane = plane_of(field);
  gaussian_filter(device, plane, plane, layer.sigma_px, kBoundaryWrap);
  const auto deviation = static_cast<float>(mean_deviation(device, plane).deviation);
  if (deviation > 0.0f) divide(device, field, deviation);
  const GImage gpu = device.upload(density);
  add_noise(device, gpu, layer, field);
  return compared(device, gpu, cpu);
}

GrowthPlan plan_of(double um_per_px) {
  return growth_plan_bw({100, 60}, kBase, kMost, 100.0 * um_per_px, {{"size_um", 14.0}}, 1.0, 1.0);
}

Compared mean_of_density(Device& device, PixelSize size) {
  Image density = noise_picture(size, 3, -0.2f, 2.9f);
  const float broken[] = {std::nanf(""), std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity()};
  for (std::size_t i = 1; i < density.data.size(); i += 31) density.data[i] = broken[i % 3];
  constexpr float kScale = 2.5f, kFog = 0.05f;
  const GrowthPlan plan = plan_of(6.0);
  Image cpu(size.h, size.w, 1);
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const float above = density.data[3 * i + 1] - static_cast<float>(kBase);
    cpu.data[i] = kScale * (above > 0.0f ? std::min(above, plan.range[0]) : 0.0f) + kFog;
  }
  const GImage gpu = device.upload(density);
  return compared(device, above_base(device, plane_of(gpu, 1), plan, 0, kScale, kFog), cpu);
}

Compared density_of_light(Device& device, PixelSize size) {
  const Image light = noise_picture(size, 1, -0.1f, 1.1f);
  constexpr float kFloor = 0.004f;
  Image cpu = noise_picture(size, 3, 0.0f, 1.0f, 3);
  const GImage gpu = device.upload(cpu);
  read_density(device, device.upload(light), plane_of(gpu, 2), kBase, kFloor);
  for (std::size_t i = 0; i < light.data.size(); ++i)
    cpu.data[3 * i + 2] =
        static_cast<float>(kBase) - elementary::log10f(std::max(light.data[i], kFloor));
  return compared(device, gpu, cpu);
}

constexpr int kPerSide = 3;
constexpr std::uint32_t kLead = 5;

// Counts of every row of a raster and of `kLead` rows above and below it.
struct Counted {
  GrownRows rows;
  GrowthRate rate;
  Image noise;
  Image mean;
};

Counted counted_case(PixelSize size, float most, float events, float effect) {
  Counted made;
  made.rows.raster = raster_of(size, {kPerSide, 2.0});
  made.rows.per_side = kPerSide;
  made.rows.lead = kLead;
  made.rows.rows = static_cast<std::uint32_t>(made.rows.raster.rows) + 2 * kLead;
  made.rows.field_row = 2;
  made.rate = {0.4f, 0.08f, events, effect};
  made.noise =
      noise_picture({size.w * kPerSide, static_cast<int>(made.rows.rows) + 4}, 1, -1.0f, 1.0f, 11);
  made.mean = noise_picture(size, 1, 0.0f, most, 12);
  return made;
}

// The CPU's counts; where single precision leaves a count open, the kernel's if it is one that the
// rounding of its rate allows.
std::vector<float> cpu_counts(const Counted& made, const std::vector<float>& kernel_counts) {
  const auto width = static_cast<std::size_t>(made.rows.raster.width);
  const Image enlarged =
      pil_resize(made.mean, made.mean.w * kPerSide, made.mean.h * kPerSide, kResizeTriangle);
  std::vector<float> counts(kernel_counts.size());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const std::int32_t row = static_cast<std::int32_t>(i / width) - static_cast<int>(kLead);
    const float mean = enlarged.at(std::clamp(row, 0, enlarged.h - 1), static_cast<int>(i % width));
    const float field = made.noise.data[i + made.rows.field_row * width];
    const float x =
        (elementary::expf(field * made.rate.spread - made.rate.shift) * mean) * made.rate.events;
    const float u = plain::uniform({kHash, kCountTag}, i);
    const float least = poisson_inverse(std::max(u - 2e-7f, 0.0f), x * (1.0f - 1e-5f));
    const float most = poisson_inverse(std::min(u + 2e-7f, 1.0f), x * (1.0f + 1e-5f));
    counts[i] = least == most ? poisson_inverse(u, x) : std::clamp(kernel_counts[i], least, most);
  }
  return counts;
}

// Of rates from nothing to well above that from which counts are normal.
Compared silver(Device& device, PixelSize size) {
  const Counted made = counted_case(size, 5.0f, 6.0f, 0.15f);
  const GImage light = silver_light(device, made.rows, made.rate, device.upload(made.noise),
                                    device.upload(made.mean), kHash);
  Compared pair = {device.download(light).data, {}};
  std::vector<float> counts = pair.gpu;
  for (float& t : counts) t = std::nearbyint(-elementary::logf(t) / made.rate.effect);
  pair.cpu = cpu_counts(made, counts);
  for (float& count : pair.cpu) count = elementary::expf(-(count * made.rate.effect));
  return pair;
}

Compared dye(Device& device, PixelSize size) {
  const Counted made = counted_case(size, 2.2f, 20.0f, 0.05f);
  const GImage density = dye_density(device, made.rows, made.rate, device.upload(made.noise),
                                     device.upload(made.mean), kHash);
  Compared pair = {device.download(density).data, {}};
  std::vector<float> counts = pair.gpu;
  for (float& d : counts) d = std::nearbyint(d / made.rate.effect);
  pair.cpu = cpu_counts(made, counts);
  for (float& count : pair.cpu) count *= made.rate.effect;
  return pair;
}

Compared light_of_dye(Device& device, PixelSize size) {
  const Image density = noise_picture({size.w, size.h + 3}, 1, 0.0f, 3.0f);
  Image cpu(size.h, size.w, 1);
  const float* first = &density.data[2 * static_cast<std::size_t>(size.w)];
  for (std::size_t i = 0; i < cpu.data.size(); ++i) cpu.data[i] = -first[i];
  elementary::exp10f(cpu.data.data(), cpu.data.data(), cpu.data.size());
  return compared(device,
                  dye_light(device, device.upload(density), 2, static_cast<std::uint32_t>(size.h)),
                  cpu);
}

// The middle rows of a picture.
Compared means(Device& device, PixelSize size) {
  const Image light = noise_picture({size.w * 7, size.h * 7}, 1, 0.0f, 1.0f);
  Image cpu(size.h + 2, size.w, 1, 0.5f);
  const GImage gpu = device.upload(cpu);
  store_block_means(device, device.upload(light), 7, gpu, 1);
  for (int y = 0; y < size.h; ++y)
    for (int x = 0; x < size.w; ++x) {
      double sum = 0.0;
      for (int k = 0; k < 49; ++k) sum += light.at(7 * y + k / 7, 7 * x + k % 7);
      cpu.at(y + 1, x) = static_cast<float>(sum / 49.0);
    }
  return compared(device, gpu, cpu);
}

double deviate(std::size_t pixel) {
  return normal_deviate(plain::uniform({kHash, kMomentTag}, pixel));
}

Compared silver_moments_of_pixels(Device& device, PixelSize size) {
  GrowthPlan plan = plan_of(20.0);
  plan.sigma[0] = 0.08;
  Image cpu = noise_picture(size, 1, 0.05f, 5.2f);
  const GImage gpu = silver_by_moments(device, device.upload(cpu), plan, kHash);
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const Moments pixel = grain_moments(cpu.data[i] * static_cast<float>(plan.k), moments_of(plan));
    cpu.data[i] = static_cast<float>(
        std::clamp(pixel.mean + deviate(i) * std::sqrt(pixel.variance), 1e-6, 1.0));
  }
  return compared(device, gpu, cpu);
}

Compared dye_moments_of_pixels(Device& device, PixelSize size) {
  GrowthPlan plan = plan_of(20.0);
  plan.sigma[1] = 0.03;
  plan.unit[1] = 0.04;
  Image cpu = noise_picture(size, 1, 0.0f, 2.2f);
  const GImage gpu = dye_by_moments(device, device.upload(cpu), plan, 1, kHash);
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const double m = cpu.data[i];
    const double variance =
        std::pow(m * plan.sigma[1], 2) * plan.shape + m * plan.unit[1] / plan.n_cells;
    cpu.data[i] =
        static_cast<float>(std::pow(10.0, -std::max(m + deviate(i) * std::sqrt(variance), 0.0)));
  }
  return compared(device, gpu, cpu);
}

}  // namespace

std::vector<KernelCase> grain_cases() {
  return {
      {"grain_normals", {Kernel::grain_normals}, bound_on(20.0, 7000.0), normals},
      {"grain_classic", {Kernel::grain_classic}, 4.0, classic},
      {"growth_mu", {Kernel::growth_mu}, 0.0, mean_of_density},
      {"growth_log", {Kernel::growth_log}, bound_on(4.0, 8.0), density_of_light},
      {"growth_bw_T", {Kernel::growth_bw_T}, bound_on(4.0, 32.0), silver, bound_on(2e-6, 1e-5)},
      {"growth_color_Df", {Kernel::growth_color_Df}, 4.0, dye},
      {"growth_color_T",
       {Kernel::growth_color_T},
       bound_on(4.0, 48.0),
       light_of_dye,
       bound_on(2e-6, 1e-5)},
      {"block_mean", {Kernel::block_mean}, 4.0, means},
      {"growth_agg_bw", {Kernel::growth_agg_bw}, bound_on(4.0, 64.0), silver_moments_of_pixels},
      {"growth_agg_color", {Kernel::growth_agg_color}, bound_on(4.0, 64.0), dye_moments_of_pixels},
  };
}

}  // namespace morva::gpu
