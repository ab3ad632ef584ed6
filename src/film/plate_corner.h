// The corner from which a plate is poured, or by which it is held.
#pragma once

#include "image/random.h"

namespace morva {

struct PlateCorner {
  bool right = false;
  bool below = false;
};

// Top left, top right, bottom right and bottom left, a quarter of the range each. One draw.
inline PlateCorner draw_corner(Rng& rng) {
  const int number = static_cast<int>(rng.uniform() * 4.0);
  return {number == 1 || number == 2, number >= 2};
}

}  // namespace morva
