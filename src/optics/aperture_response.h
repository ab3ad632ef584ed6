// What stopping a lens down does to its faults: vignetting fades towards a rest that never goes,
// the errors of wide rays fade fast, those of the field's edge slowly.
#pragma once

#include "profiles/json_access.h"

namespace morva {

// Shares that are left of what the lens shows at full aperture.
struct ApertureResponse {
  double vignetting = 1.0;
  double spherical = 1.0;          // glow, bloom, coma, softness
  double field = 1.0;              // curvature and astigmatism
  double vignette_residual = 0.0;  // of the vignetting, what no stop takes away
};

// `optics` is the lens's own object of strengths; `stop` counts stops down from full aperture,
// where and beyond which the first three are exactly 1.
ApertureResponse aperture_response(const Json& optics, double stop);

}  // namespace morva
