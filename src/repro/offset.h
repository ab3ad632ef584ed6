// The picture from an offset press: four plates under halftone screens, or the black plate alone.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/json_access.h"
#include "repro/raster_plan.h"

namespace morva {

// `picture` is linear reflectance, one channel or three; three come back, 0..1, at its own size.
// `px_um` is the size of its pixels on the sheet before `scale` enlarges them. Draws from `rng`:
// for each plate its screen's place, where the raster carries one, and its shift across and down,
// where it is half a pixel or more; then the mottle.
Image print_offset(Image picture, const Json& paper, double px_um, const RasterScale& scale,
                   Rng& rng, RenderContext& ctx);

}  // namespace morva
