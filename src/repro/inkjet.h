// The picture from an inkjet: four inks thrown in drops that a blue-noise mask places, in passes of
// a moving head.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "image/render_context.h"
#include "profiles/json_access.h"
#include "repro/raster_plan.h"

namespace morva {

// `picture` is linear reflectance, one channel or three; three come back, 0..1, at its own size.
// `px_um` is the size of its pixels on the sheet before `scale` enlarges them. Draws from `rng`:
// the passes, the seams' signs, the nozzles' phase, then for each ink its place in the mask and its
// head's misalignment, then the mottle.
Image print_inkjet(Image picture, const Json& paper, const Json& options, double px_um,
                   const RasterScale& scale, Rng& rng, RenderContext& ctx);

}  // namespace morva
