// The black-and-white negative: one panchromatic silver layer.
#pragma once

#include "film/negative.h"
#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva {

// What the per-pixel part of the stage needs.
struct DevelopBwParams {
  HdCurve curve;
  double ev = 0.0;  // exposure, stops
};

// The curve of the film's one silver layer; option `intensify` thickens that of a wet plate.
HdCurve silver_curve(const Json& film, const Json& options);

// Exposes and develops `scene` (linear light, three channels). `px_um`: a pixel's size on the film,
// micrometres. `uneven`, a field of uneven development, may be null.
Negative develop_bw(const Image& scene, const Json& film, const Json& options, double px_um,
                    const Image* uneven, RenderContext& ctx);

}  // namespace morva
