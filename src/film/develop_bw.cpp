#include "film/develop_bw.h"

#include <algorithm>
#include <utility>

#include "film/emulsion.h"
#include "film/exposure.h"
#include "film/grain.h"
#include "film/halation.h"
#include "film/plate_development.h"
#include "film/plate_fields.h"
#include "film/uneven_development.h"
#include "gpu/backend.h"
#include "image/held.h"
#include "profiles/film.h"

namespace morva {

namespace {

Image panchromatic(const Image& scene, const Json& film) {
  const std::array<float, 3> w = panchromatic_weights(film);
  return mix_channels(scene, w[0], w[1], w[2]);
}

// A plate thickened after development by more silver, or by mercury, reaches a greater density.
HdCurve collodion_curve(const Json& record, const Json& options) {
  const double dmax = as_number(get(record, "dmax"), "negative.dmax");
  const double intensify = held(get_number(options, "intensify", 0.0), 0.0, 1.0);
  if (intensify <= 0.0) return negative_curve_with_dmax(record, dmax);
  const double dmax_intensified = get_number(record, "dmax_intensified", dmax);
  return negative_curve_with_dmax(record, dmax + (dmax_intensified - dmax) * intensify);
}

void expose_coating(Image& light, const Image& gain) {
  for (std::size_t i = 0; i < gain.data.size(); ++i) light.data[i] *= gain.data[i];
}

// Gelatine that dried thick or was handled at its edge fogs there.
void fog_edges(Image& density, const Image& gain, double edge_fog) {
  const auto fog = static_cast<float>(edge_fog);
  for (std::size_t i = 0; i < gain.data.size(); ++i) density.data[i] += (gain.data[i] - 1.0f) * fog;
}

// A plate's curve is not that of the hook.
Image develop_silver(Image light, const DevelopBwParams& params, bool on_plate,
                     RenderContext& ctx) {
  if (ctx.pointwise != nullptr && !on_plate) {
    ctx.pointwise_used = true;
    return ctx.pointwise->negative_bw(light, params);
  }
  float* samples = light.data.data();
  log_exposure(samples, samples, light.data.size(), params.ev);
  params.curve.density(samples, samples, light.data.size());
  return light;
}

}  // namespace

HdCurve silver_curve(const Json& film, const Json& options) {
  const Json& record = film.at("negative");
  const bool wet = plate_params(film, options).kind == PlateKind::wet;
  return wet ? collodion_curve(record, options) : negative_curve(record);
}

Negative develop_bw(const Image& scene, const Json& film, const Json& options, double px_um,
                    const Image* uneven, RenderContext& ctx) {
  Image light = emulsion_blur(panchromatic(scene, film), film, px_um);
  const double halation_mult = get_number(options, "halation_mult", 1.0);
  halate(light, light, halation_params(get(film, "halation"), px_um, halation_mult), px_um);
  const PlateParams plate = plate_params(film, options);
  const bool wet = plate.kind == PlateKind::wet;
  PlateFields fields = plate_fields(plate, light.w, light.h, px_um);
  expose_coating(light, fields.gain);
  check_cancel(ctx);

  Negative negative;
  negative.curve = silver_curve(film, options);
  const auto fog = static_cast<float>(negative.curve.dmin);
  Image density = develop_silver(std::move(light), {negative.curve, exposure_total(options, film)},
                                 plate.kind != PlateKind::none, ctx);
  if (wet)
    density = develop_plate_post(std::move(density), plate, negative.curve, px_um, fields);
  else
    fog_edges(density, fields.gain, plate.edge_fog);
  fields.gain = Image();
  check_cancel(ctx);
  if (uneven != nullptr)
    density = apply_uneven(std::move(density), {fog, fog, fog}, *uneven, {1.0f, 1.0f, 1.0f}, 1.0f);
  density = adjacency(std::move(density), film, px_um);
  density = add_grain(std::move(density), film, options, px_um, negative.curve, ctx);
  bare_uncoated(density, fields.edge, negative.curve.dmin);
  const auto mid = static_cast<float>(negative.curve.dmid);
  for (float& d : density.data) d -= mid;
  negative.density = std::move(density);
  return negative;
}

}  // namespace morva
