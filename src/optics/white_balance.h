// White balance of the camera: a shift of the scene's colour temperature and a green-magenta tint.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Gains of the channels, none without a shift. `wb_temp` is in mired against the film's own
// illuminant, positive for a warmer picture; a positive `wb_tint` removes green. The luminance of a
// neutral stays as it was.
std::optional<std::array<float, 3>> wb_gains(const Json& film, const Json& opts);

// Scene-linear RGB in and out.
Image apply_wb(Image image, const Json& film, const Json& opts);

}  // namespace morva
