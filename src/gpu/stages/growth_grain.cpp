#include "gpu/stages/growth_grain.h"

#include <numbers>
#include <vector>

#include "gpu/kernels/grain_layout.h"
#include "gpu/stages/counter_noise.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/growth_simulation.h"

namespace morva::gpu {

namespace {

std::vector<std::uint32_t> of_plane(const Plane& plane) {
  return {word(pixels(plane)), word(plane.stride), word(plane.offset)};
}

std::vector<float> moment_table(const GrowthPlan& plan) {
  namespace at = grain_layout;
  const vector::SilverMoments grains = moments_of(plan);
  std::vector<float> table(at::kMomentNumbers);
  for (std::uint32_t i = 0; i < at::kNodes; ++i) {
    table[at::kRate + i] = static_cast<float>(grains.rate[i]);
    table[at::kWeight + i] = static_cast<float>(grains.weight[i]);
  }
  table[at::kBlocked] = static_cast<float>(grains.q1);
  table[at::kTwice] = static_cast<float>(grains.q1 * grains.q1);
  table[at::kCells] = static_cast<float>(grains.n_cells);
  table[at::kShape] = static_cast<float>(grains.shape);
  table[at::kFactor] = static_cast<float>(plan.k);
  return table;
}

GImage by_moments(Device& device, Kernel kernel, const GImage& mean,
                  const std::vector<float>& table, std::uint64_t hash) {
  GImage transmission = device.image(mean.height, mean.width, 1);
  launch_elements(device, kernel, pixels(mean),
                  with_draws({word(pixels(mean))}, {hash, kMomentTag}), table,
                  {mean.buffer.get(), transmission.buffer.get()});
  return transmission;
}

void read_by_spot(Device& device, const GImage& transmission, const GrowthPlan& plan) {
  if (!spot_blurs(plan)) return;
  const Plane plane = plane_of(transmission);
  gaussian_filter(device, plane, plane, plan.blur_px, kBoundaryReflect);
}

}  // namespace

GImage above_base(Device& device, const Plane& density, const GrowthPlan& plan, std::size_t layer,
                  float scale, float fog) {
  GImage above = device.image(density.height, density.width, 1);
  launch_elements(device, Kernel::growth_mu, pixels(density), of_plane(density),
                  {static_cast<float>(plan.dmin[layer]), plan.range[layer], scale, fog},
                  {density.buffer.get(), above.buffer.get()});
  return above;
}

GImage silver_by_moments(Device& device, const GImage& lambda, const GrowthPlan& plan,
                         std::uint64_t hash) {
  return by_moments(device, Kernel::growth_agg_bw, lambda, moment_table(plan), hash);
}

GImage dye_by_moments(Device& device, const GImage& density, const GrowthPlan& plan,
                      std::size_t layer, std::uint64_t hash) {
  return by_moments(device, Kernel::growth_agg_color, density,
                    {static_cast<float>(plan.sigma[layer]), static_cast<float>(plan.shape),
                     static_cast<float>(plan.unit[layer] / plan.n_cells)},
                    hash);
}

void read_density(Device& device, const GImage& transmission, const Plane& density, double dmin,
                  float floor) {
  launch_elements(device, Kernel::growth_log, pixels(density), of_plane(density),
                  {static_cast<float>(dmin), floor},
                  {transmission.buffer.get(), density.buffer.get()});
}

void add_silver_grain(Device& device, const GImage& density, const GrowthPlan& plan, const Key& key,
                      const RenderContext& ctx) {
  const Plane plane = plane_of(density);
  const std::uint64_t hash = hash_key(key);
  GImage light = above_base(device, plane, plan, 0, static_cast<float>(std::numbers::ln10),
                            static_cast<float>(kFogLambda));
  light = plan.analytic
              ? silver_by_moments(device, light, plan, hash)
              : grow_silver(device, light, sub_sampling(plan), silver_grains(plan), {hash, ctx});
  read_by_spot(device, light, plan);
  read_density(device, light, plane, plan.dmin[0], plan.analytic ? 0.0f : plan.floor[0]);
}

void add_dye_grain(Device& device, const GImage& density, const GrowthPlan& plan, const Key& key,
                   const RenderContext& ctx) {
  for (std::size_t layer = 0; layer < 3; ++layer) {
    check_cancel(ctx);
    const Plane plane = plane_of(density, static_cast<std::int32_t>(layer));
    const std::uint64_t hash = hash_key(layer_key(key, layer));
    GImage light = above_base(device, plane, plan, layer, 1.0f, 0.0f);
    light = plan.analytic
                ? dye_by_moments(device, light, plan, layer, hash)
                : grow_dye(device, light, sub_sampling(plan), dye_grains(plan, layer), {hash, ctx});
    read_by_spot(device, light, plan);
    read_density(device, light, plane, plan.dmin[layer], plan.floor[layer]);
  }
}

}  // namespace morva::gpu
