// The size of a raster that need not be held to be planned.
#pragma once

#include <algorithm>

namespace morva {

struct PixelSize {
  int w = 0;
  int h = 0;
};

inline int long_side(PixelSize size) {
  return std::max(size.w, size.h);
}

// A side below 1 counts as 1.
inline PixelSize at_least_one(PixelSize size) {
  return {std::max(size.w, 1), std::max(size.h, 1)};
}

}  // namespace morva
