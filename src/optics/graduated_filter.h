// A graduated filter before the lens: neutral or coloured density over one side of the picture that
// fades out across a line, to hold back a sky.
#pragma once

#include <array>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Lengths in half long sides of the picture.
struct Graduation {
  std::array<double, 3> stops;
  double edge;  // width of the transition
  double cos_angle;
  double sin_angle;
  double position;
  bool reverse;
  double far_density;  // share of the density left at the far end of a reverse filter
  double fading;       // length over which it thins
};

// Pixel (y, x) lies at ((y - centre_y) / half_long_px, (x - centre_x) / half_long_px).
struct GraduationUnits {
  float half_long_px;
  float centre_y;
  float centre_x;
};

Graduation read_graduation(const Json& filter, double angle_deg, double position);
GraduationUnits graduation_units(std::int32_t h, std::int32_t w);

// Scene-linear RGB in and out. The line passes through the centre of the picture, moved by
// `position` half long sides and turned by the filter's angle plus `angle_deg`; above it the filter
// is dense. A reverse filter is densest at the line and thins towards the far edge.
Image apply_graduated_filter(Image image, const Json& filter, double angle_deg, double position);

}  // namespace morva
