// What development hands to the print, on the GPU: density relative to that of a mid grey.
#pragma once

#include <array>

#include "gpu/buffer.h"
#include "profiles/hd_curve.h"

namespace morva::gpu {

struct GNegative {
  GImage density;  // one channel
  HdCurve curve;
};

struct GColorNegative {
  GImage density;  // three channels, R, G, B layers
  std::array<HdCurve, 3> curves;
};

}  // namespace morva::gpu
