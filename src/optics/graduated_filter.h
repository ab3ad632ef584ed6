// A graduated filter before the lens: neutral or coloured density over one side of the picture that
// fades out across a line, to hold back a sky.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Scene-linear RGB in and out. The line passes through the centre of the picture, moved by
// `position` half long sides and turned by the filter's angle plus `angle_deg`; above it the filter
// is dense. A reverse filter is densest at the line and thins towards the far edge.
Image apply_graduated_filter(Image image, const Json& filter, double angle_deg, double position);

}  // namespace morva
