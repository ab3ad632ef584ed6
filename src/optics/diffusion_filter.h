// A diffusion filter: fine texture in the glass spreads part of the highlights around them (bloom)
// and scatters a little of all light evenly over the picture (haze).
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Scene-linear RGB in and out. `amount` multiplies both effects and is not bounded. Haze takes half
// its share from the contrast and adds the whole of it to the mean, so it also brightens. Samples
// that are not finite neither bloom nor count for the mean.
Image apply_diffusion_filter(Image image, const Json& filter, double amount);

}  // namespace morva
