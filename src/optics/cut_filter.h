// A colour filter behind the lens. The photographer makes up for the light it takes, so it changes
// the balance of the colours and not the exposure of the film it is used with.
#pragma once

#include <array>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Gains of the channels. `amount` 0 is no filter, 1 the whole one; it is clamped to that range. The
// film's sensitivity (panchromatic for "bw", luminance for any other type) weighs the exposure.
std::array<float, 3> cut_gains(const Json& filter, const Json& film, double amount);

// Scene-linear RGB in and out.
Image apply_cut_filter(Image image, const Json& filter, const Json& film, double amount);

}  // namespace morva
