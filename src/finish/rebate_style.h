// The look of a film's rebate: how wide the unexposed border is and how its gate was cut.
#pragma once

#include <string>

#include "profiles/json_access.h"

namespace morva {

struct RebatePreset {
  double frame_frac;       // default width, fraction of the picture's long side
  double rough;            // default roughness
  double picture_corner;   // corner radius of the picture window, fraction of the shorter side
  double gate_corner;      // corner radius of the gate, fraction of the mean margin
  double wander;           // slow wander of the edge, fraction of the margin
  double fine_wander;      // fine wander
  double bow;              // bow towards the ends
  double bite_rate;        // factor on the chance of bites
  double position_jitter;  // shift of a whole side, fraction of the margin
  double edge_floor;       // lowest level of a softened side
  double soft_width;       // width of softening, fraction of the mean margin
  double soft_spread;      // how far sides differ in softness
  double inner_limit;      // nearest that the edge comes to the picture, fraction of the margin
};

struct RebateStyle {
  std::string name;
  double width = 0.0;  // fraction of the picture's long side
  double rough = 1.0;
  const RebatePreset* preset = nullptr;  // for "thin" and "wide"
};

// From `frame_style`, `frame` and `frame_rough`. A style with a preset takes its width where
// `frame` is not positive and its roughness where `frame_rough` is 1; any other style takes both
// numbers as given.
RebateStyle rebate_style(const Json& options);

}  // namespace morva
