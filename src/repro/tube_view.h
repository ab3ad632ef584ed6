// How a tube's screen is looked at: which part of it fills the picture, and how large.
#pragma once

#include <string>

#include "profiles/json_access.h"

namespace morva {

struct TubeView {
  double zoom = 1.0;       // 1..10, about the middle of the screen
  double image_cm = 0.0;   // width of what is seen
  double image_mm = 0.0;   // its height
  double pitch_mm = 0.72;  // of the mask
  double lines_seen = 0.0;
  std::string mask;  // "delta", "mask" (stripes) or "none"

  bool has_mask() const { return mask == "delta" || mask == "mask"; }
};

// From the paper's block `crt` and the options `crt_zoom` and `crt_size_in`. Lines are at least 1.
// Throws as the getters do.
TubeView plan_tube_view(const Json& paper, const Json& options);

}  // namespace morva
