#include "print/slide.h"

#include <algorithm>
#include <utility>

#include "film/couplers.h"
#include "film/emulsion.h"
#include "film/grain.h"
#include "film/layers.h"
#include "film/look.h"
#include "print/paper.h"
#include "profiles/film.h"

namespace morva {

SlideParams slide_params(const Json& film, const Json& options, const Image* uneven) {
  SlideParams params;
  const Json& layers = film.at("layers");
  params.curves = {slide_curve(layers.at("r")), slide_curve(layers.at("g")),
                   slide_curve(layers.at("b"))};
  params.ev = exposure_total(options, film);
  params.uneven = uneven;
  params.interlayer = interlayer_matrix(film, options);
  params.saturation = get_number(get_object(film, "couplers"), "saturation", 0.0);
  const std::array<float, 3> fog = layer_fog(params.curves);
  params.clear = std::min({fog[0], fog[1], fog[2]});
  return params;
}

Image develop_reversal_dyes(Image light, const SlideParams& params) {
  Image density = expose_layers(std::move(light), params.curves, {params.ev, std::nullopt},
                                Development::reversal, params.uneven);
  add_mid_density(density, params.curves, -1.0f);
  if (params.interlayer)
    apply_couplers(density, params.interlayer, 0.0);
  else
    widen_dyes(density, params.saturation);
  add_mid_density(density, params.curves, 1.0f);
  return density;
}

Image develop_slide(Image scene, const Json& film, const Json& options, double px_um,
                    const Image* uneven, RenderContext& ctx) {
  Image light = light_in_layers(std::move(scene), film, options, px_um);
  check_cancel(ctx);
  const SlideParams params = slide_params(film, options, uneven);
  Image slide = develop_reversal_dyes(std::move(light), params);
  slide = adjacency(std::move(slide), film, px_um);
  slide = add_grain(std::move(slide), film, options, px_um, params.curves, ctx);
  check_cancel(ctx);
  shine_through(slide, params.clear);
  apply_look(slide, get_object(film, "look"));
  clamp_to_sheet(slide);
  return slide;
}

}  // namespace morva
