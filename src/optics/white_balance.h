// White balance of the camera: a shift of the scene's colour temperature and a green-magenta tint.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Scene-linear RGB in and out. `wb_temp` is in mired against the film's own illuminant, positive
// for a warmer picture; a positive `wb_tint` removes green. The luminance of a neutral stays as it
// was.
Image apply_wb(Image image, const Json& film, const Json& opts);

}  // namespace morva
