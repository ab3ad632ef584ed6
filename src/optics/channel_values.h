// Values that a filter's profile gives for R, G and B.
#pragma once

#include <array>

#include "profiles/json_access.h"

namespace morva {

// The array under `key`; `fallback` when it is missing or null. Any other value throws the JSON
// library's type error, fewer than three elements ProfileError, an element that is not a number
// OptionsError.
std::array<double, 3> channel_values(const Json& profile, const char* key,
                                     const std::array<double, 3>& fallback);

}  // namespace morva
