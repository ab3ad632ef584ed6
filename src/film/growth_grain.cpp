#include "film/growth_grain.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "film/growth_calibration.h"
#include "film/growth_simulation.h"
#include "film/normal_deviate.h"
#include "image/elementary.h"
#include "image/filters.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kFaintestAmount = 1e-5;
constexpr double kFogLambda = 0.05;      // optical depth of grains that need no light
constexpr double kFinestGrain = 0.0015;  // RMS density below which grain is not seen
constexpr double kSpotUm = 4.0;          // sigma of the spot that reads the film
constexpr double kLeastAnalyticBlurPx = 0.3;
constexpr std::int64_t kAnalyticWord = 777;
constexpr std::int64_t kLayerWord = 40;

Key with_word(Key key, std::int64_t word) {
  key.push_back(word);
  return key;
}

std::array<double, 3> layer_numbers(const Json& grain, const char* key,
                                    const std::array<double, 3>& fallback) {
  return three_numbers(get(grain, key), std::string("grain.") + key).value_or(fallback);
}

GrowthPlan plan_raster(const Image& density, double long_um) {
  GrowthPlan plan;
  plan.um_per_px = long_um / std::max(density.w, density.h);
  plan.ss = static_cast<int>(std::clamp(std::nearbyint(plan.um_per_px * 0.5), 1.0, 1e6));
  plan.sub_um = plan.um_per_px / plan.ss;
  plan.n_cells = (plan.um_per_px / plan.sub_um) * (plan.um_per_px / plan.sub_um);
  plan.blur_px = kSpotUm / plan.um_per_px;
  return plan;
}

void plan_curve(GrowthPlan& plan, std::size_t layer, double dmin, double dmax) {
  plan.dmin[layer] = dmin;
  plan.range[layer] = static_cast<float>(std::max(dmax - dmin, 1e-6));
  plan.floor[layer] = static_cast<float>(elementary::pow(10.0, -std::max(dmax - dmin, 1e-6)));
}

void plan_reach(GrowthPlan& plan, double r_um) {
  plan.r_um = r_um;
  plan.analytic = std::max(2.0 * r_um, 4.0 * plan.sub_um) <= plan.um_per_px;
  plan.shape = disc_overlap(plan.um_per_px, r_um);
}

GrainCells cells_of(const GrowthPlan& plan) {
  return {1.0 - elementary::exp(-plan.a), 1.0 - elementary::exp(-2.0 * plan.a), plan.n_cells,
          plan.shape};
}

// Too fine to be seen at a density of 1.0 above base.
bool is_invisible(const GrowthPlan& plan) {
  const Moments at_one = grain_moments((std::numbers::ln10 + kFogLambda) * plan.k, cells_of(plan),
                                       rate_quadrature(plan.sigma[0]));
  const double density_per_light = std::max(at_one.mean * std::numbers::ln10, 1e-6);
  return std::sqrt(at_one.variance) / density_per_light < kFinestGrain;
}

// Density above base within the curve; not a number counts as base.
float above_base(float density, float dmin, float range) {
  const float above = density - dmin;
  return above > 0.0f ? std::min(above, range) : 0.0f;
}

Image layer_above_base(const Image& density, std::int32_t channel, const GrowthPlan& plan) {
  Image above = extract_channel(density, channel);
  const auto dmin = static_cast<float>(plan.dmin[channel]);
  for (float& d : above.data) d = above_base(d, dmin, plan.range[channel]);
  return above;
}

// Uniforms of one number a pixel.
std::vector<float> pixel_uniforms(const Key& key, std::size_t pixels) {
  std::vector<float> uniforms(pixels);
  Rng rng = rng_from_key(key);
  rng.fill_uniforms(uniforms.data(), pixels);
  return uniforms;
}

void silver_by_moments(Image& lambda, const GrowthPlan& plan, const Key& key) {
  const std::vector<float> u = pixel_uniforms(with_word(key, kAnalyticWord), lambda.pixels());
  const GrainCells cells = cells_of(plan);
  const RateQuadrature quadrature = rate_quadrature(plan.sigma[0]);
  for (std::size_t i = 0; i < lambda.data.size(); ++i) {
    const Moments m =
        grain_moments(static_cast<double>(lambda.data[i]) * plan.k, cells, quadrature);
    const double t = m.mean + normal_deviate(u[i]) * std::sqrt(m.variance);
    lambda.data[i] = static_cast<float>(std::clamp(t, 1e-6, 1.0));
  }
}

void dye_by_moments(Image& above, std::size_t layer, const GrowthPlan& plan, const Key& key) {
  const std::vector<float> u = pixel_uniforms(with_word(key, kAnalyticWord), above.pixels());
  for (std::size_t i = 0; i < above.data.size(); ++i) {
    const double m = static_cast<double>(above.data[i]);
    const double of_rate = m * plan.sigma[layer];
    const double variance = of_rate * of_rate * plan.shape + m * plan.unit[layer] / plan.n_cells;
    const double density = std::max(m + normal_deviate(u[i]) * std::sqrt(variance), 0.0);
    above.data[i] = static_cast<float>(elementary::pow(10.0, -density));
  }
}

Image read_by_spot(Image transmission, const GrowthPlan& plan) {
  if (plan.analytic && plan.blur_px <= kLeastAnalyticBlurPx) return transmission;
  return gaussian_filter(transmission, plan.blur_px, kBoundaryReflect);
}

// Transmission to density, in place.
void read_density(Image& transmission, float dmin, float floor) {
  float* t = transmission.data.data();
  const std::size_t n = transmission.data.size();
  for (std::size_t i = 0; i < n; ++i) t[i] = std::max(t[i], floor);
  elementary::log10f(t, t, n);
  for (std::size_t i = 0; i < n; ++i) t[i] = dmin - t[i];
}

}  // namespace

GrowthPlan growth_plan_bw(const Image& density, double dmin, double dmax, double long_um,
                          const Json& grain, double mult, double size_mult) {
  GrowthPlan plan = plan_raster(density, long_um);
  const double size_um = get_number(grain, "size_um", 14.0);
  const double amount = get_number(grain, "amount", 0.055) * mult;
  if (!(amount > kFaintestAmount)) return plan;
  plan_curve(plan, 0, dmin, dmax);
  plan.t = silver_shadow_um(size_um);
  plan_reach(plan, silver_reach_um(size_um, size_mult));
  plan.a = grain_area({plan.t, plan.r_um, 0.0}, plan.sub_um);
  plan.k = event_factor(plan.a);
  plan.sigma[0] = silver_sigma(size_um, amount, dmin, dmax);
  plan.active = !(plan.analytic && is_invisible(plan));
  return plan;
}

GrowthPlan growth_plan_color(const Image& density, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Json& grain,
                             double mult, double size_mult) {
  GrowthPlan plan = plan_raster(density, long_um);
  DyeStock stock;
  stock.size_um = get_number(grain, "size_um", stock.size_um);
  stock.amount = get_number(grain, "amount", stock.amount) * mult;
  stock.layer_scale = layer_numbers(grain, "layer_scale", stock.layer_scale);
  stock.layer_size_scale = layer_numbers(grain, "layer_size_scale", stock.layer_size_scale);
  stock.dmin = dmin;
  stock.dmax = dmax;
  if (!(stock.amount > kFaintestAmount)) return plan;
  plan_reach(plan, dye_reach_um(stock.size_um, size_mult));
  const DyeCalibration calibration = calibrate_dyes(stock);
  plan.sigma = calibration.sigma;
  // The same grain covers a larger share of a smaller sub-sample.
  const double coarseness = kCalibrationSubUm / plan.sub_um;
  for (std::size_t k = 0; k < 3; ++k) {
    plan_curve(plan, k, dmin[k], dmax[k]);
    plan.unit[k] = calibration.unit[k] * coarseness * coarseness;
    plan.cloud_um[k] = dye_cloud_um(stock.size_um, stock.layer_size_scale[k], size_mult);
  }
  plan.active = true;
  return plan;
}

Image add_grain_growth_bw(Image density, double dmin, double dmax, double long_um, const Key& key,
                          const Json& grain, double mult, double size_mult,
                          const RenderContext& ctx) {
  const GrowthPlan plan = growth_plan_bw(density, dmin, dmax, long_um, grain, mult, size_mult);
  if (!plan.active) return density;
  Image light = std::move(density);
  const auto base = static_cast<float>(dmin);
  for (float& d : light.data)
    d = static_cast<float>(std::numbers::ln10) * above_base(d, base, plan.range[0]) +
        static_cast<float>(kFogLambda);
  if (plan.analytic)
    silver_by_moments(light, plan, key);
  else
    light = grow_silver(light, {plan.ss, plan.sub_um}, {plan.t, plan.r_um, plan.sigma[0]},
                        {key, false, &ctx});
  light = read_by_spot(std::move(light), plan);
  read_density(light, base, plan.analytic ? 0.0f : plan.floor[0]);
  return light;
}

Image add_grain_growth_color(Image density, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Key& key,
                             const Json& grain, double mult, double size_mult,
                             const RenderContext& ctx) {
  const GrowthPlan plan = growth_plan_color(density, dmin, dmax, long_um, grain, mult, size_mult);
  if (!plan.active) return density;
  for (std::int32_t k = 0; k < 3; ++k) {
    const Key layer_key = with_word(key, k + kLayerWord);
    Image light = layer_above_base(density, k, plan);
    if (plan.analytic)
      dye_by_moments(light, static_cast<std::size_t>(k), plan, layer_key);
    else
      light = grow_dye(light, {plan.ss, plan.sub_um},
                       {plan.unit[k], plan.cloud_um[k], plan.r_um, plan.sigma[k]},
                       {layer_key, false, &ctx});
    light = read_by_spot(std::move(light), plan);
    read_density(light, static_cast<float>(dmin[k]), plan.floor[k]);
    store_channel(density, k, light);
  }
  return density;
}

}  // namespace morva
