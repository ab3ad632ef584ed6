#include "film/classic_grain.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "image/filters.h"
#include "image/pairwise_sum.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kMostAmount = 1e3;  // far past any film, and still a number when squared

// The amplitude's course over the curve, t = 0 at base and 1 at dmax: a binomial deviation that
// vanishes at neither end, as fog has grain and full density still shows it.
template <typename Real>
Real amplitude(Real t) {
  return std::sqrt((Real(1) - Real(0.45) * t) * (t + Real(0.06)));
}

double density_range(double dmin, double dmax) {
  return std::max(dmax - dmin, 1e-6);
}

void plan_layer(std::vector<GrainLayer>& layers, std::uint64_t channel, double size_px,
                double amount, double dmin, double dmax) {
  if (size_px < kFinestSigmaPx) amount *= size_px / kFinestSigmaPx;
  if (!(amount > kFaintestAmount)) return;
  GrainLayer layer;
  layer.channel = channel;
  layer.sigma_px = std::max(size_px, kFinestSigmaPx);
  layer.range = static_cast<float>(density_range(dmin, dmax));
  layer.dmin = static_cast<float>(dmin);
  layer.norm = grain_norm(dmin, dmax);
  layer.amount = static_cast<float>(std::min(amount, kMostAmount));
  layers.push_back(layer);
}

// Noise of unit deviation. It wraps around, so that its grain is as large at the edges as inside.
Image grain_field(std::int32_t h, std::int32_t w, double sigma_px, const NormalSource& normals) {
  Image field;
  field.h = h;
  field.w = w;
  field.c = 1;
  field.data = normals(field.pixels());
  if (sigma_px > kBlurredSigmaPx) field = gaussian_filter(field, sigma_px, kBoundaryWrap);
  const auto deviation =
      static_cast<float>(standard_deviation(field.data.data(), field.data.size()));
  if (deviation > 0.0f)
    for (float& noise : field.data) noise /= deviation;
  return field;
}

void add_layer(Image& density, const GrainLayer& layer, const NormalSource& normals) {
  const Image field = grain_field(density.h, density.w, layer.sigma_px, normals);
  const std::size_t step = static_cast<std::size_t>(density.c);
  float* d = density.data.data() + layer.channel;
  for (const float noise : field.data) {
    const float t = std::clamp((*d - layer.dmin) / layer.range, 0.0f, 1.0f);
    *d += amplitude(t) * layer.norm * layer.amount * noise;
    d += step;
  }
}

}  // namespace

std::array<double, 3> layer_numbers(const Json& grain, const char* key,
                                    const std::array<double, 3>& fallback) {
  return three_numbers(get(grain, key), std::string("grain.") + key).value_or(fallback);
}

double silver_noise_um(const Json& grain) {
  return get_number(grain, "size_um", 6.0);
}

double dye_noise_um(const Json& grain) {
  return get_number(grain, "size_um", 4.0);
}

float grain_norm(double dmin, double dmax) {
  const double t = std::clamp(1.0 / density_range(dmin, dmax), 0.05, 0.95);
  return static_cast<float>(std::sqrt((1.0 - t) * t + 1e-8) / std::max(amplitude(t), 1e-6));
}

std::vector<GrainLayer> grain_layers_bw(double dmin, double dmax, const Json& grain, double px_um,
                                        double size_mult, double mult) {
  const double size_um = silver_noise_um(grain) * size_mult;
  const double amount = get_number(grain, "amount", 0.08);
  std::vector<GrainLayer> layers;
  plan_layer(layers, 0, size_um / std::max(px_um, 1e-6), amount * mult, dmin, dmax);
  return layers;
}

std::vector<GrainLayer> grain_layers_color(const std::array<double, 3>& dmin,
                                           const std::array<double, 3>& dmax, const Json& grain,
                                           double px_um, double size_mult, double mult) {
  const double size_um = dye_noise_um(grain);
  const double amount = get_number(grain, "amount", 0.05);
  const auto amount_scale = layer_numbers(grain, "layer_scale", kLayerScale);
  const auto size_scale = layer_numbers(grain, "layer_size_scale", kLayerSizeScale);
  std::vector<GrainLayer> layers;
  for (std::size_t k = 0; k < 3; ++k)
    plan_layer(layers, k, size_scale[k] * size_um * size_mult / std::max(px_um, 1e-6),
               amount_scale[k] * amount * mult, dmin[k], dmax[k]);
  return layers;
}

Image add_grain_bw(Image density, double dmin, double dmax, const Json& grain, double px_um,
                   double size_mult, double mult, const NormalSource& normals) {
  for (const GrainLayer& layer : grain_layers_bw(dmin, dmax, grain, px_um, size_mult, mult))
    add_layer(density, layer, normals);
  return density;
}

Image add_grain_color(Image density, const std::array<double, 3>& dmin,
                      const std::array<double, 3>& dmax, const Json& grain, double px_um,
                      double size_mult, double mult, const NormalSource& normals) {
  for (const GrainLayer& layer : grain_layers_color(dmin, dmax, grain, px_um, size_mult, mult))
    add_layer(density, layer, normals);
  return density;
}

}  // namespace morva
