#include "film/develop_bw.h"

#include <utility>

#include "film/emulsion.h"
#include "film/exposure.h"
#include "film/grain.h"
#include "film/halation.h"
#include "film/pending.h"
#include "gpu/backend.h"
#include "profiles/film.h"

namespace morva {

namespace {

Image panchromatic(const Image& scene, const Json& film) {
  const std::array<float, 3> w = panchromatic_weights(film);
  return mix_channels(scene, w[0], w[1], w[2]);
}

Image develop_silver(Image light, const DevelopBwParams& params, RenderContext& ctx) {
  if (ctx.pointwise != nullptr) {
    ctx.pointwise_used = true;
    return ctx.pointwise->negative_bw(light, params);
  }
  float* samples = light.data.data();
  log_exposure(samples, samples, light.data.size(), params.ev);
  params.curve.density(samples, samples, light.data.size());
  return light;
}

}  // namespace

Negative develop_bw(const Image& scene, const Json& film, const Json& options, double px_um,
                    const Image* uneven, RenderContext& ctx) {
  Image light = emulsion_blur(panchromatic(scene, film), film, px_um);
  const double halation_mult = get_number(options, "halation_mult", 1.0);
  halate(light, light, halation_params(get(film, "halation"), px_um, halation_mult), px_um);
  light = plate_fields(std::move(light), film, options, px_um);
  check_cancel(ctx);

  Negative negative;
  negative.curve = negative_curve(film.at("negative"));
  const auto fog = static_cast<float>(negative.curve.dmin);
  Image density =
      develop_silver(std::move(light), {negative.curve, exposure_total(options, film)}, ctx);
  if (uneven != nullptr)
    density = apply_uneven(std::move(density), {fog, fog, fog}, *uneven, {1.0f, 1.0f, 1.0f}, 1.0f);
  density = adjacency(std::move(density), film, px_um);
  density = add_grain(std::move(density), film, options, px_um, negative.curve, ctx);
  const auto mid = static_cast<float>(negative.curve.dmid);
  for (float& d : density.data) d -= mid;
  negative.density = std::move(density);
  return negative;
}

}  // namespace morva
