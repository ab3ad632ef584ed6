#include "film/develop_color.h"

#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/emulsion.h"
#include "film/grain.h"
#include "gpu/backend.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

// Silver that was not bleached: neutral, and proportional to the density above a mid grey.
void retain_silver(Image& density, double retained) {
  if (retained <= kLeastRetainedSilver) return;
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
  params.exposure.ev = exposure_total(options, film);
  if (const Json& layer_ev = get(film, "_layer_ev"); !layer_ev.is_null()) {
    const std::vector<float> stops = read_floats(layer_ev, 3, "_layer_ev");
    params.exposure.layer_ev = {stops[0], stops[1], stops[2]};
  }
  params.uneven = uneven;
  params.couplers = coupler_matrix(film, options);
  params.saturation = get_number(get_object(film, "couplers"), "saturation", 0.0);
  params.retained_silver = get_number(film, "_retained_silver", 0.0);
  return params;
}

Image develop_dyes(Image light, const DevelopParams& params) {
  Image density = expose_layers(std::move(light), params.curves, params.exposure,
                                Development::negative, params.uneven);
  add_mid_density(density, params.curves, -1.0f);
  apply_couplers(density, params.couplers, params.saturation);
  retain_silver(density, params.retained_silver);
  add_mid_density(density, params.curves, 1.0f);
  return density;
}

ColorNegative develop_color(Image scene, const Json& film, const Json& options, double px_um,
                            const Image* uneven, RenderContext& ctx) {
  Image light = light_in_layers(std::move(scene), film, options, px_um);
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
