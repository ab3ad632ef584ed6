// A colour negative on colour paper.
#pragma once

#include "film/negative.h"
#include "image/image.h"
#include "image/render_context.h"
#include "print/paper.h"

namespace morva {

// Reflectance, linear, 0..1, three channels: each layer through the same paper curve, then the
// film's look and the paper's tone.
Image print_color(const PrintParams& params, ColorNegative negative, RenderContext& ctx);

}  // namespace morva
