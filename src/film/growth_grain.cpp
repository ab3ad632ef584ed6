#include "film/growth_grain.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "film/classic_grain.h"
#include "film/growth_calibration.h"
#include "film/growth_simulation.h"
#include "film/normal_deviate.h"
#include "image/elementary.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kFinestGrain = 0.0015;  // RMS density below which grain is not seen
constexpr double kLeastAnalyticBlurPx = 0.3;
constexpr double kLongestUm = 1e9;        // a kilometre of film
constexpr double kLargestGrainUm = 50.0;  // three times the coarsest of films
constexpr double kMostOfARecord = 1e3;
constexpr std::int64_t kAnalyticWord = 777;
constexpr std::int64_t kLayerWord = 40;

// Numbers of a record that pass any film are a slip; so far up nothing changes any more.
double bounded(double value) {
  return std::clamp(value, -kMostOfARecord, kMostOfARecord);
}

// In a pixel's side, each near 2 micrometres.
int sub_samples(double um_per_px) {
  return static_cast<int>(std::clamp(std::nearbyint(um_per_px * 0.5), 1.0, 1e6));
}

double clump_um(const Json& grain, double fallback) {
  return std::min(get_number(grain, "size_um", fallback), kLargestGrainUm);
}

double amount_of(const Json& grain, double fallback, double mult) {
  return bounded(get_number(grain, "amount", fallback) * mult);
}

constexpr double kSilverAmount = 0.055;

GrowthPlan plan_raster(PixelSize picture, double long_um) {
  GrowthPlan plan;
  if (!grain_has_raster(long_um)) return plan;
  plan.um_per_px = long_um / long_side(picture);
  plan.ss = sub_samples(plan.um_per_px);
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
  plan.analytic = grain_by_moments(plan.um_per_px, r_um);
  plan.shape = disc_overlap(plan.um_per_px, r_um);
}

// Too fine to be seen at a density of 1.0 above base.
bool is_invisible(const GrowthPlan& plan) {
  const Moments at_one = grain_moments(
      static_cast<float>((std::numbers::ln10 + kFogLambda) * plan.k), moments_of(plan));
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

// Goes through a picture's samples a block at a time, with a standard normal deviate for each.
template <typename Change>
void with_deviates(Image& picture, const Key& key, const RenderContext& ctx, const Change& change) {
  constexpr std::size_t kBlock = 4096;
  std::vector<float> u(kBlock);
  std::vector<double> z(kBlock);
  Rng rng = rng_from_key(with_word(key, kAnalyticWord));
  for (std::size_t done = 0; done < picture.data.size(); done += kBlock) {
    check_cancel(ctx);
    const std::size_t n = std::min(kBlock, picture.data.size() - done);
    rng.fill_uniforms(u.data(), n);
    vector::grain_loops().deviates(u.data(), n, z.data());
    change(&picture.data[done], z.data(), n);
  }
}

void silver_by_moments(Image& lambda, const GrowthPlan& plan, const Key& key,
                       const RenderContext& ctx) {
  const vector::SilverMoments grains = moments_of(plan);
  const auto k = static_cast<float>(plan.k);
  std::vector<double> mean, variance;
  with_deviates(lambda, key, ctx, [&](float* t, const double* z, std::size_t n) {
    mean.resize(n);
    variance.resize(n);
    for (std::size_t i = 0; i < n; ++i) t[i] *= k;
    vector::grain_loops().silver_moments(t, n, grains, mean.data(), variance.data());
    for (std::size_t i = 0; i < n; ++i)
      t[i] = static_cast<float>(std::clamp(mean[i] + z[i] * std::sqrt(variance[i]), 1e-6, 1.0));
  });
}

void dye_by_moments(Image& above, std::size_t layer, const GrowthPlan& plan, const Key& key,
                    const RenderContext& ctx) {
  const double sigma = plan.sigma[layer];
  const double of_one_grain = plan.unit[layer] / plan.n_cells;
  with_deviates(above, key, ctx, [&](float* d, const double* z, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
      const double m = static_cast<double>(d[i]);
      const double variance = (m * sigma) * (m * sigma) * plan.shape + m * of_one_grain;
      d[i] = -static_cast<float>(std::max(m + z[i] * std::sqrt(variance), 0.0));
    }
    elementary::exp10f(d, d, n);
  });
}

Image read_by_spot(Image transmission, const GrowthPlan& plan) {
  if (!spot_blurs(plan)) return transmission;
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

double silver_clump_um(const Json& grain) {
  return clump_um(grain, 14.0);
}

double dye_clump_um(const Json& grain) {
  return clump_um(grain, DyeStock().size_um);
}

std::optional<double> silver_grain_reach_um(const Json& grain, double mult, double size_mult) {
  if (!(amount_of(grain, kSilverAmount, mult) > kFaintestAmount)) return std::nullopt;
  return silver_reach_um(silver_clump_um(grain), size_mult);
}

std::optional<double> dye_grain_reach_um(const Json& grain, double mult, double size_mult) {
  const DyeStock stock;
  if (!(amount_of(grain, stock.amount, mult) > kFaintestAmount)) return std::nullopt;
  return dye_reach_um(dye_clump_um(grain), size_mult);
}

// A length that no film has, an infinite one too, leaves the plan without a raster.
bool grain_has_raster(double long_um) {
  return long_um > 0.0 && long_um <= kLongestUm;
}

bool grain_by_moments(double um_per_px, double reach_um) {
  const double sub_um = um_per_px / sub_samples(um_per_px);
  return std::max(2.0 * reach_um, 4.0 * sub_um) <= um_per_px;
}

vector::SilverMoments moments_of(const GrowthPlan& plan) {
  return silver_moments(plan.sigma[0], plan.a, plan.n_cells, plan.shape);
}

SubSampling sub_sampling(const GrowthPlan& plan) {
  return {plan.ss, plan.sub_um};
}

SilverGrains silver_grains(const GrowthPlan& plan) {
  return {plan.t, plan.r_um, plan.sigma[0]};
}

DyeGrains dye_grains(const GrowthPlan& plan, std::size_t layer) {
  return {plan.unit[layer], plan.cloud_um[layer], plan.r_um, plan.sigma[layer]};
}

Key layer_key(const Key& key, std::size_t layer) {
  return with_word(key, static_cast<std::int64_t>(layer) + kLayerWord);
}

bool spot_blurs(const GrowthPlan& plan) {
  return !(plan.analytic && plan.blur_px <= kLeastAnalyticBlurPx);
}

GrowthPlan growth_plan_bw(PixelSize picture, double dmin, double dmax, double long_um,
                          const Json& grain, double mult, double size_mult) {
  GrowthPlan plan = plan_raster(picture, long_um);
  const double size_um = silver_clump_um(grain);
  const double amount = amount_of(grain, kSilverAmount, mult);
  if (!(amount > kFaintestAmount) || !grain_has_raster(long_um)) return plan;
  plan_curve(plan, 0, dmin, dmax);
  plan.t = silver_shadow_um(size_um);
  plan_reach(plan, silver_reach_um(size_um, size_mult));
  plan.a = grain_area({plan.t, plan.r_um, 0.0}, plan.sub_um);
  plan.k = event_factor(plan.a);
  plan.sigma[0] = silver_sigma(size_um, amount, dmin, dmax);
  plan.active = !(plan.analytic && is_invisible(plan));
  return plan;
}

GrowthPlan growth_plan_color(PixelSize picture, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Json& grain,
                             double mult, double size_mult) {
  GrowthPlan plan = plan_raster(picture, long_um);
  DyeStock stock;
  stock.size_um = dye_clump_um(grain);
  stock.amount = amount_of(grain, stock.amount, mult);
  stock.layer_scale = layer_numbers(grain, "layer_scale", stock.layer_scale);
  stock.layer_size_scale = layer_numbers(grain, "layer_size_scale", stock.layer_size_scale);
  for (std::size_t k = 0; k < 3; ++k) {
    stock.layer_scale[k] = bounded(stock.layer_scale[k]);
    stock.layer_size_scale[k] = bounded(stock.layer_size_scale[k]);
  }
  stock.dmin = dmin;
  stock.dmax = dmax;
  if (!(stock.amount > kFaintestAmount) || !grain_has_raster(long_um)) return plan;
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
  const GrowthPlan plan =
      growth_plan_bw({density.w, density.h}, dmin, dmax, long_um, grain, mult, size_mult);
  if (!plan.active) return density;
  Image light = std::move(density);
  const auto base = static_cast<float>(dmin);
  for (float& d : light.data)
    d = static_cast<float>(std::numbers::ln10) * above_base(d, base, plan.range[0]) +
        static_cast<float>(kFogLambda);
  if (plan.analytic)
    silver_by_moments(light, plan, key, ctx);
  else
    light = grow_silver(light, sub_sampling(plan), silver_grains(plan), {key, false, &ctx});
  light = read_by_spot(std::move(light), plan);
  read_density(light, base, plan.analytic ? 0.0f : plan.floor[0]);
  return light;
}

Image add_grain_growth_color(Image density, const std::array<double, 3>& dmin,
                             const std::array<double, 3>& dmax, double long_um, const Key& key,
                             const Json& grain, double mult, double size_mult,
                             const RenderContext& ctx) {
  const GrowthPlan plan =
      growth_plan_color({density.w, density.h}, dmin, dmax, long_um, grain, mult, size_mult);
  if (!plan.active) return density;
  for (std::int32_t k = 0; k < 3; ++k) {
    const auto layer = static_cast<std::size_t>(k);
    const Key draws = layer_key(key, layer);
    Image light = layer_above_base(density, k, plan);
    if (plan.analytic)
      dye_by_moments(light, layer, plan, draws, ctx);
    else
      light = grow_dye(light, sub_sampling(plan), dye_grains(plan, layer), {draws, false, &ctx});
    light = read_by_spot(std::move(light), plan);
    read_density(light, static_cast<float>(dmin[k]), plan.floor[k]);
    store_channel(density, k, light);
  }
  return density;
}

}  // namespace morva
