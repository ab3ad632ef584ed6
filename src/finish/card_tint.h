// The card of instant film as it comes from the factory.
#pragma once

#include <array>
#include <cstdint>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

using CardTint = std::array<float, 3>;  // linear

// `frame.base_tint`, a warm white where it is not three numbers.
CardTint card_tint(const Json& frame);

// A sheet of one colour, three channels.
Image blank_card(std::int64_t h, std::int64_t w, const CardTint& tint);

}  // namespace morva
