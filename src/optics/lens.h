// The lens: the scene's picture becomes the picture on the film plane. A lens is no prescription of
// glass but a set of strengths, each for one visible fault; all lengths are relative to the
// picture, so that a lens looks the same at every resolution.
#pragma once

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// Scene-linear RGB in and out, at the same size; samples below 0, and such as are not numbers, come
// out as 0. The strengths are those of read_lens, and so are its errors. Throws Cancelled between
// steps and within the longest of them.
Image apply_lens(Image picture, const Json& lens, const Json& opts, const RenderContext& ctx);

}  // namespace morva
