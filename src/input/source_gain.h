// Brightness of the source before the film sees it.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Multiplies linear light by the option `_source_gain` in place, where that is a number.
void apply_source_gain(Image& image, const Json& options);

}  // namespace morva
