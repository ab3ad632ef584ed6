#include "film/layers.h"

#include <utility>
#include <vector>

#include "film/emulsion.h"
#include "film/exposure.h"
#include "film/halation.h"
#include "film/uneven_development.h"
#include "image/elementary.h"

namespace morva {

Image light_in_layers(Image scene, const Json& film, const Json& options, double px_um) {
  Image light = emulsion_blur(std::move(scene), film, px_um);
  const HalationParams halation =
      halation_params(get(film, "halation"), px_um, get_number(options, "halation_mult", 1.0));
  if (halation.active) halate(light, mix_channels(light, kLumaR, kLumaG, kLumaB), halation, px_um);
  return light;
}

void expose_layer(Image& light, int layer, const HdCurve& curve, double ev, Development development,
                  float shift_of_layer) {
  const auto stride = static_cast<std::size_t>(light.c);
  std::vector<float> row(static_cast<std::size_t>(light.w));
  for (int y = 0; y < light.h; ++y) {
    float* pixels = &light.data[static_cast<std::size_t>(y) * light.row_samples() + layer];
    for (std::size_t x = 0; x < row.size(); ++x) row[x] = pixels[stride * x];
    log_exposure(row.data(), row.data(), row.size(), ev);
    for (float& exposure : row) exposure += shift_of_layer;
    if (development == Development::reversal)
      for (float& exposure : row) exposure = -exposure;
    curve.density(row.data(), row.data(), row.size());
    for (std::size_t x = 0; x < row.size(); ++x) pixels[stride * x] = row[x];
  }
}

float layer_shift(const LayerExposure& exposure, int layer) {
  if (!exposure.layer_ev) return 0.0f;
  return static_cast<float>(kLog10Stop) * (*exposure.layer_ev)[layer];
}

Image expose_layers(Image light, const std::array<HdCurve, 3>& curves,
                    const LayerExposure& exposure, Development development, const Image* uneven) {
  for (int layer = 0; layer < 3; ++layer)
    expose_layer(light, layer, curves[layer], exposure.ev, development,
                 layer_shift(exposure, layer));
  if (uneven == nullptr) return light;
  return apply_uneven(std::move(light), layer_fog(curves), *uneven, kUnevenGains,
                      development == Development::negative ? 1.0f : -1.0f);
}

std::array<float, 3> layer_fog(const std::array<HdCurve, 3>& curves) {
  return {static_cast<float>(curves[0].dmin), static_cast<float>(curves[1].dmin),
          static_cast<float>(curves[2].dmin)};
}

std::array<float, 3> layer_mid(const std::array<HdCurve, 3>& curves) {
  return {static_cast<float>(curves[0].dmid), static_cast<float>(curves[1].dmid),
          static_cast<float>(curves[2].dmid)};
}

void add_to_layers(Image& density, const std::array<float, 3>& layers, float sign) {
  const float added[] = {sign * layers[0], sign * layers[1], sign * layers[2]};
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3)
    for (int k = 0; k < 3; ++k) p[k] += added[k];
}

void add_mid_density(Image& density, const std::array<HdCurve, 3>& curves, float sign) {
  add_to_layers(density, layer_mid(curves), sign);
}

void shine_through(Image& density, float clear) {
  const std::size_t n = density.row_samples();
  for (int y = 0; y < density.h; ++y) {
    float* row = &density.data[static_cast<std::size_t>(y) * n];
    for (std::size_t i = 0; i < n; ++i) row[i] = -(row[i] - clear);
    elementary::exp10f(row, row, n);
  }
}

}  // namespace morva
