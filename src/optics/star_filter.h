// A star filter before the lens: lines engraved in the glass draw the light of strong highlights
// out into rays. Their length follows the wavelength, so that the tips are coloured.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Scene-linear RGB in and out. Light above the filter's threshold is moved into the rays and none
// is added; samples end at or above 0, and those that are NaN, or become so under a boundless
// strength, end at 0. Samples that are not finite throw no rays. A picture without light above the
// threshold is returned as it is. At most 200 rays, on 100 lines, are drawn. Throws std::bad_alloc
// for rays longer than 4096 px on the raster they are drawn on.
Image apply_star_filter(Image image, const Json& filter, double angle_deg);

}  // namespace morva
