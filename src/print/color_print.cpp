#include "print/color_print.h"

#include <utility>

#include "film/look.h"
#include "gpu/backend.h"

namespace morva {

Image print_color(const PrintParams& params, ColorNegative negative, RenderContext& ctx) {
  if (ctx.pointwise != nullptr) {
    ctx.pointwise_used = true;
    return ctx.pointwise->print_color(negative.density, params);
  }
  Image print = std::move(negative.density);
  for (int k = 0; k < 3; ++k) {
    Image layer = extract_channel(print, k);
    float* samples = layer.data.data();
    paper_response(params.curve, samples, samples, layer.data.size(), params.print_ev,
                   params.flare);
    store_channel(print, k, layer);
  }
  apply_look(print, params.look);
  apply_tone(print, params.tone);
  return print;
}

}  // namespace morva
