// The kernels of grain: draws against a plain Philox, everything else against the CPU's functions
// for the same draws.

#include <algorithm>
#include <cmath>

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

// Rows so far down the sheet that their numbers pass 32 bits.
Compared normals(Device& device, PixelSize size) {
  constexpr std::uint32_t kFirst = 0xf0000000u;
  const CounterDraws draws = {kHash, kClassicTag};
  std::vector<float> cpu(static_cast<std::size_t>(size.w) * static_cast<std::size_t>(size.h));
  for (std::size_t i = 0; i < cpu.size(); ++i) {
    const std::uint64_t number = std::uint64_t{kFirst} * static_cast<std::uint64_t>(size.w) + i;
    cpu[i] = plain::normal_of(plain::words_of(draws, number));
  }
  return {device.download(normal_rows(device, draws, kFirst, size.h, size.w)).data, cpu};
}

// Both make their field of the same normals.
KernelCase classic_case() {
  const Json grain = {{"size_um", 9.0}, {"amount", 0.06}, {"layer_scale", {0.0, 1.0, 0.0}}};
  const std::array<double, 3> dmin = {kBase, kBase, kBase}, dmax = {kMost, kMost, kMost};
  return stage_case(
      "grain_classic", 4.0, noise(3, -0.2f, 2.9f),
      [=](Device& device, const GImage& density, const GImage& field) {
        const GrainLayer layer = grain_layers_color(dmin, dmax, grain, 6.0, 1.0, 1.0).at(0);
        const Plane plane = plane_of(field);
        gaussian_filter(device, plane, plane, layer.sigma_px, kBoundaryWrap);
        const auto deviation = static_cast<float>(mean_deviation(device, plane).deviation);
        if (deviation > 0.0f) divide(device, field, deviation);
        add_noise(device, density, layer, field);
      },
      [=](const Image& density, const Image& field) {
        return add_grain_color(density, dmin, dmax, grain, 6.0, 1.0, 1.0,
                               [&](std::size_t) { return field.data; });
      },
      noise(1, -1.0f, 1.0f, 7));
}

GrowthPlan plan_of(double um_per_px) {
  return growth_plan_bw({100, 60}, kBase, kMost, 100.0 * um_per_px, {{"size_um", 14.0}}, 1.0, 1.0);
}

KernelCase mean_of_density_case() {
  constexpr float kScale = 2.5f, kFog = 0.05f;
  const GrowthPlan plan = plan_of(6.0);
  return stage_case(
      "growth_mu", 0.0, spoilt(noise(3, -0.2f, 2.9f)),
      [=](Device& device, const GImage& density) {
        return above_base(device, plane_of(density, 1), plan, 0, kScale, kFog);
      },
      [=](const Image& density) {
        Image mean = extract_channel(density, 1);
        for (float& d : mean.data) {
          const float above = d - static_cast<float>(kBase);
          d = kScale * (above > 0.0f ? std::min(above, plan.range[0]) : 0.0f) + kFog;
        }
        return mean;
      });
}

KernelCase density_of_light_case() {
  constexpr float kFloor = 0.004f;
  return stage_case(
      "growth_log", bound_on(4.0, 8.0), noise(3, 0.0f, 1.0f, 3),
      [=](Device& device, const GImage& density, const GImage& light) {
        read_density(device, light, plane_of(density, 2), kBase, kFloor);
      },
      [=](Image& density, const Image& light) {
        for (std::size_t i = 0; i < light.data.size(); ++i)
          density.data[3 * i + 2] =
              static_cast<float>(kBase) - elementary::log10f(std::max(light.data[i], kFloor));
      },
      noise(1, -0.1f, 1.1f));
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

// A count shows as `shown` of the effect of all its grains; `effect_of` leads back.
KernelCase counts_case(const char* name, double bound_ulp, Counted (*made_for)(PixelSize),
                       decltype(&silver_light) kernel, float (*shown)(float),
                       float (*effect_of)(float)) {
  return {name, bound_ulp, [=](Device& device, PixelSize size) {
            const Counted made = made_for(size);
            const GImage gpu = kernel(device, made.rows, made.rate, device.upload(made.noise),
                                      device.upload(made.mean), kHash);
            Compared pair = {device.download(gpu).data, {}};
            std::vector<float> counts = pair.gpu;
            for (float& v : counts) v = std::nearbyint(effect_of(v) / made.rate.effect);
            pair.cpu = cpu_counts(made, counts);
            for (float& count : pair.cpu) count = shown(count * made.rate.effect);
            return pair;
          }};
}

// Of rates from nothing to well above that from which counts are normal.
KernelCase silver_case() {
  return counts_case(
      "growth_bw_T", bound_on(4.0, 32.0),
      [](PixelSize size) { return counted_case(size, 5.0f, 6.0f, 0.15f); }, silver_light,
      [](float area) { return elementary::expf(-area); },
      [](float light) { return -elementary::logf(light); });
}

KernelCase dye_case() {
  const auto itself = [](float density) { return density; };
  return counts_case(
      "growth_color_Df", 4.0, [](PixelSize size) { return counted_case(size, 2.2f, 20.0f, 0.05f); },
      dye_density, itself, itself);
}

// All rows but two above and one below.
KernelCase light_of_dye_case() {
  return stage_case(
      "growth_color_T", bound_on(4.0, 48.0),
      [](PixelSize size) {
        return noise_picture({size.w, size.h + 3}, 1, 0.0f, 3.0f);
      },
      [](Device& device, const GImage& density) {
        return dye_light(device, density, 2, static_cast<std::uint32_t>(density.height - 3));
      },
      [](const Image& density) {
        Image light(density.h - 3, density.w, 1);
        const float* first = &density.data[2 * static_cast<std::size_t>(density.w)];
        for (std::size_t i = 0; i < light.data.size(); ++i) light.data[i] = -first[i];
        elementary::exp10f(light.data.data(), light.data.data(), light.data.size());
        return light;
      });
}

// The middle rows of a picture.
KernelCase means_case() {
  const auto before = [](int h, int w) { return Image(h / 7 + 2, w / 7, 1, 0.5f); };
  return stage_case(
      "block_mean", 4.0,
      [](PixelSize size) {
        return noise_picture({size.w * 7, size.h * 7}, 1, 0.0f, 1.0f);
      },
      [=](Device& device, const GImage& light) {
        const GImage means = device.upload(before(light.height, light.width));
        store_block_means(device, light, 7, means, 1);
        return means;
      },
      [=](const Image& light) {
        Image means = before(light.h, light.w);
        for (int y = 0; y < light.h / 7; ++y)
          for (int x = 0; x < means.w; ++x) {
            double sum = 0.0;
            for (int k = 0; k < 49; ++k) sum += light.at(7 * y + k / 7, 7 * x + k % 7);
            means.at(y + 1, x) = static_cast<float>(sum / 49.0);
          }
        return means;
      });
}

// Pixels by their moments, each `drawn` of its value and its deviate.
template <class Drawn>
auto by_moments(Drawn drawn) {
  return [=](Image& picture) {
    for (std::size_t i = 0; i < picture.data.size(); ++i)
      picture.data[i] = static_cast<float>(
          drawn(picture.data[i], normal_deviate(plain::uniform({kHash, kMomentTag}, i))));
  };
}

KernelCase silver_moments_case() {
  GrowthPlan plan = plan_of(20.0);
  plan.sigma[0] = 0.08;
  return stage_case(
      "growth_agg_bw", bound_on(4.0, 64.0), noise(1, 0.05f, 5.2f), silver_by_moments,
      by_moments([=](float lambda, double deviate) {
        const Moments pixel = grain_moments(lambda * static_cast<float>(plan.k), moments_of(plan));
        return std::clamp(pixel.mean + deviate * std::sqrt(pixel.variance), 1e-6, 1.0);
      }),
      plan, kHash);
}

KernelCase dye_moments_case() {
  GrowthPlan plan = plan_of(20.0);
  plan.sigma[1] = 0.03;
  plan.unit[1] = 0.04;
  return stage_case("growth_agg_color", bound_on(4.0, 64.0), noise(1, 0.0f, 2.2f), dye_by_moments,
                    by_moments([=](double m, double deviate) {
                      const double variance = std::pow(m * plan.sigma[1], 2) * plan.shape +
                                              m * plan.unit[1] / plan.n_cells;
                      return std::pow(10.0, -std::max(m + deviate * std::sqrt(variance), 0.0));
                    }),
                    plan, std::size_t{1}, kHash);
}

}  // namespace

KernelCases grain_cases() {
  const double share = bound_on(2e-6, 1e-5);
  return {
      {"grain_normals", bound_on(20.0, 7000.0), normals},
      classic_case(),
      mean_of_density_case(),
      density_of_light_case(),
      with_relative_bound(share, silver_case()),
      dye_case(),
      with_relative_bound(share, light_of_dye_case()),
      means_case(),
      silver_moments_case(),
      dye_moments_case(),
  };
}

}  // namespace morva::gpu
