// The light that glass spreads: what a picture holds above a level.
#pragma once

#include "image/image.h"

namespace morva {

// max(0, sample - threshold) of channel `k`. A sample that is not finite gives 0, so that it spoils
// its own pixel and not all that its light would reach.
Image light_above(const Image& image, std::int32_t k, float threshold);

}  // namespace morva
