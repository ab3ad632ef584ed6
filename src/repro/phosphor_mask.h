// The screen's phosphors behind its mask: dots of red, green and blue in triads, or stripes.
#pragma once

#include "image/image.h"

namespace morva {

struct PhosphorMask {
  bool stripes = false;       // else triads of dots
  double period_px = 6.0;     // along a row, of three phosphors; what pixels resolve, so 3 or more
  double fill = 0.8;          // a dot's or stripe's width in thirds of a period
  double depth = 0.5;         // of the pattern on the picture
  double phase_across = 0.0;  // shares of a period
  double phase_down = 0.0;
};

// One period of a mask, finer than pixels: what it leaves of each channel, whose mean over the
// period is 1, to a pixel whose middle stands there.
struct MaskPeriod {
  double height_px = 0.0;
  Image light;
};

MaskPeriod draw_mask_period(const PhosphorMask& mask);

// In place.
void light_phosphors(Image& picture, const PhosphorMask& mask);

}  // namespace morva
