// The picture on a cathode-ray tube, photographed from its screen.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/json_access.h"
#include "repro/raster_plan.h"

namespace morva {

// `picture` is linear light, one channel or three, at the raster the stage works on; three come
// back at the same size, 0..1. `px_um` is the size of a pixel on the screen, `plan` the mask's
// raster at these pixels; where they do not resolve it the tone is continuous. Draws two uniforms
// from `rng`, the place of the mask across and down, for every tube that has a mask, whether these
// pixels resolve it or not: what is drawn later then does not depend on the raster. With the option
// `_black_probe` the beam alone is drawn, and its light comes back as it is: above 1 where the
// picture is, or along a line's stroke. Throws std::out_of_range with the text "invalid map<K, T>
// key" for an unknown phosphor.
Image show_on_tube(Image picture, const Json& paper, const Json& options, double px_um,
                   const RasterPlan& plan, Rng& rng, RenderContext& ctx);

}  // namespace morva
