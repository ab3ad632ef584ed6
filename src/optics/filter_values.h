// Values that filters have in common: per channel, and their turn in the holder.
#pragma once

#include <array>

#include "profiles/json_access.h"

namespace morva {

// The array under `key`; `fallback` when it is missing or null. Any other value throws the JSON
// library's type error, fewer than three elements ProfileError, an element that is not a number
// OptionsError.
std::array<double, 3> channel_values(const Json& profile, const char* key,
                                     const std::array<double, 3>& fallback);

// The sum of a filter's own angle and the option's, in degrees. Where it passes a million, whole
// turns of either are dropped, so that it is finite.
double turned_by(double own_deg, double option_deg);

}  // namespace morva
