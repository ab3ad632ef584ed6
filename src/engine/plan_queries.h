// What a host asks before it renders, answered without a picture.
#pragma once

#include "flow/film_area.h"
#include "profiles/json_access.h"

namespace morva {

// Limits on a picture's long side, pixels; 0 where there is none.
struct FrameCaps {
  int master = 0;  // beyond it a picture is reduced to what the film resolves
  int grain = 0;   // up to it every pixel averages over its grains, beyond it they show
};

// `film` is the profile as stored, `opts` merged.
FrameCaps frame_caps(const Json& film, const Json& opts, PixelSize source);

// The largest long side of `long_um` micrometres of film at which a pixel is large against grain of
// `reach_um`: 64 where none is, and at most 131071.
int grain_cap_px(double long_um, double reach_um);

// Long side over short side; 0 where any shape will do.
struct CropAspects {
  double frame = 0.0;   // of the frame that is chosen
  double forced = 0.0;  // of a card that takes no other
};

CropAspects crop_aspects(const Json& film, const Json& opts);

}  // namespace morva
