// A plate seen on a dark backing. Its silver scatters light back, so what is dense in transmission
// is light to the eye, and clear glass shows the black behind it: the plate is its own positive.
#pragma once

#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// Stops beside the film's exposure that a plate gets to be seen as a positive: the paper's
// `plate_view.positive_ev`.
double positive_ev(const Json& paper);

// The picture on a plate: `scene` (linear light, three channels) exposed for a positive, that is
// beside its negative's exposure by positive_ev, developed and viewed. Reflectance,
// 0..1, three channels. `px_um`: a pixel's size on the plate, micrometres. Draws what develop_bw
// draws; throws what it throws.
Image plate_positive(const Image& scene, const Json& film, const Json& paper, const Json& options,
                     double px_um, RenderContext& ctx);

// Density of an unexposed plate with its grain but without marks of the hand: what looks black.
// `long_px` is the picture's long side, pixels.
double plate_floor(const Json& film, const Json& options, double px_um, double dmin, int long_px,
                   RenderContext& ctx);

// `density` has one channel, base and fog included. Options read: `print_ev`; of the paper
// `plate_view`; of the film `negative.dmax` and `_silver_tint`.
Image plate_view(const Image& density, const Json& film, const Json& paper, const Json& options,
                 double floor);

}  // namespace morva
