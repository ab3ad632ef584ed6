// What development hands to the print: density in log10 units relative to the density of a mid
// grey, so that a print needs no knowledge of the stock, and the curves that made it.
#pragma once

#include <array>

#include "image/image.h"
#include "profiles/hd_curve.h"

namespace morva {

struct Negative {
  Image density;  // one channel
  HdCurve curve;
};

struct ColorNegative {
  Image density;  // three channels, R, G, B layers
  std::array<HdCurve, 3> curves;
};

}  // namespace morva
