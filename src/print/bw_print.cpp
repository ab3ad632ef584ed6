#include "print/bw_print.h"

#include <utility>

#include "film/develop_color.h"
#include "gpu/backend.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

Image spread_to_three(const Image& plane) {
  Image print(plane.h, plane.w, 3);
  float* p = print.data.data();
  for (const float v : plane.data)
    for (int k = 0; k < 3; ++k) *p++ = v;
  return print;
}

Image expose_paper(const PrintParams& params, Image density) {
  float* samples = density.data.data();
  paper_response(params.curve, samples, samples, density.data.size(), params.print_ev,
                 params.flare);
  Image print = spread_to_three(density);
  apply_tone(print, params.tone);
  return print;
}

}  // namespace

std::array<float, 3> paper_weights(const Json& paper) {
  return normalised_weights(get(paper, "spectral_weights"), {0.1, 0.45, 0.45}, "spectral_weights");
}

Image density_on_paper(const Image& density, const Json& paper) {
  const std::array<float, 3> w = paper_weights(paper);
  return mix_channels(density, w[0], w[1], w[2]);
}

Image print_bw(const PrintParams& params, Negative negative, RenderContext& ctx) {
  if (ctx.pointwise != nullptr) {
    ctx.pointwise_used = true;
    return ctx.pointwise->print_bw(negative.density, params);
  }
  return expose_paper(params, std::move(negative.density));
}

Image print_color_on_bw(Image scene, const Json& film, const Json& paper, const Json& options,
                        double px_um, const Image* uneven, RenderContext& ctx) {
  Image density = density_on_paper(
      develop_color(std::move(scene), film, options, px_um, uneven, ctx).density, paper);
  check_cancel(ctx);
  return expose_paper(print_params_bw(paper, options), std::move(density));
}

}  // namespace morva
