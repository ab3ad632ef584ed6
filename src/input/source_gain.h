// Brightness of the source before the film sees it.
#pragma once

#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// The option `_source_gain`, where it is a number that changes anything.
std::optional<float> source_gain_of(const Json& options);

// Multiplies linear light by it in place.
void apply_source_gain(Image& image, const Json& options);

}  // namespace morva
