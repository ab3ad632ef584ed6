#include "film/develop_color.h"

#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/emulsion.h"
#include "film/exposure.h"
#include "film/grain.h"
#include "film/halation.h"
#include "film/pending.h"
#include "gpu/backend.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

// One layer of `light` from exposure to density, row by row, in place.
void develop_layer(Image& light, int layer, const DevelopParams& params) {
  const HdCurve& curve = params.curves[layer];
  const float layer_shift =
      params.layer_ev ? static_cast<float>(kLog10Stop) * (*params.layer_ev)[layer] : 0.0f;
  std::vector<float> row(static_cast<std::size_t>(light.w));
  for (int y = 0; y < light.h; ++y) {
    float* pixels = &light.data[static_cast<std::size_t>(y) * light.row_samples() + layer];
    for (int x = 0; x < light.w; ++x) row[x] = pixels[3 * x];
    log_exposure(row.data(), row.data(), row.size(), params.ev);
    for (float& exposure : row) exposure += layer_shift;
    curve.density(row.data(), row.data(), row.size());
    for (int x = 0; x < light.w; ++x) pixels[3 * x] = row[x];
  }
}

void add_mid_density(Image& density, const std::array<HdCurve, 3>& curves, float sign) {
  float mid[3];
  for (int k = 0; k < 3; ++k) mid[k] = sign * static_cast<float>(curves[k].dmid);
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3)
    for (int k = 0; k < 3; ++k) p[k] += mid[k];
}

// Silver that was not bleached: neutral, and proportional to the density above a mid grey.
void retain_silver(Image& density, double retained) {
  if (retained <= 0.0001) return;
  const auto silver_per_density = static_cast<float>(retained);
  float* p = density.data.data();
  for (std::size_t i = 0; i < density.pixels(); ++i, p += 3) {
    const float silver = layer_mean(p) * silver_per_density;
    for (int k = 0; k < 3; ++k) p[k] += silver;
  }
}

}  // namespace

DevelopParams develop_params(const Json& film, const Json& options, const Image* uneven) {
  DevelopParams params;
  const Json& layers = film.at("layers");
  params.curves = {layer_curve(layers.at("r")), layer_curve(layers.at("g")),
                   layer_curve(layers.at("b"))};
  params.ev = exposure_total(options, film);
  if (const Json& layer_ev = get(film, "_layer_ev"); !layer_ev.is_null()) {
    const std::vector<float> stops = read_floats(layer_ev, 3, "_layer_ev");
    params.layer_ev = {stops[0], stops[1], stops[2]};
  }
  params.uneven = uneven;
  params.couplers = coupler_matrix(film, options);
  params.saturation = get_number(get_object(film, "couplers"), "saturation", 0.0);
  params.retained_silver = get_number(film, "_retained_silver", 0.0);
  return params;
}

Image develop_dyes(Image light, const DevelopParams& params) {
  for (int layer = 0; layer < 3; ++layer) develop_layer(light, layer, params);
  Image density = std::move(light);
  if (params.uneven != nullptr) {
    const std::array<float, 3> fog = {static_cast<float>(params.curves[0].dmin),
                                      static_cast<float>(params.curves[1].dmin),
                                      static_cast<float>(params.curves[2].dmin)};
    density = apply_uneven(std::move(density), fog, *params.uneven, {1.0f, 1.0f, 1.15f}, 1.0f);
  }
  add_mid_density(density, params.curves, -1.0f);
  apply_couplers(density, params.couplers, params.saturation);
  retain_silver(density, params.retained_silver);
  add_mid_density(density, params.curves, 1.0f);
  return density;
}

ColorNegative develop_color(Image scene, const Json& film, const Json& options, double px_um,
                            const Image* uneven, RenderContext& ctx) {
  Image light = emulsion_blur(std::move(scene), film, px_um);
  const HalationParams halation =
      halation_params(get(film, "halation"), px_um, get_number(options, "halation_mult", 1.0));
  if (halation.active) halate(light, mix_channels(light, kLumaR, kLumaG, kLumaB), halation, px_um);
  check_cancel(ctx);

  const DevelopParams params = develop_params(film, options, uneven);
  ColorNegative negative;
  negative.curves = params.curves;
  if (ctx.pointwise != nullptr) {
    ctx.pointwise_used = true;
    negative.density = ctx.pointwise->negative_color(light, params);
  } else {
    negative.density = develop_dyes(std::move(light), params);
  }
  negative.density = adjacency(std::move(negative.density), film, px_um);
  negative.density =
      add_grain(std::move(negative.density), film, options, px_um, negative.curves, ctx);
  add_mid_density(negative.density, negative.curves, -1.0f);
  return negative;
}

}  // namespace morva
