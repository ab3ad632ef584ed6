// The figure that a star filter draws around a point of light: thin rays through it, a Gaussian
// across and an exponential along.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/image.h"

namespace morva {

struct StarShape {
  double length_px;
  double width_px;  // sigma across a ray
  int lines;        // each makes two rays
  double angle_deg;
  double decay;  // decay length along a ray, as a fraction of its length
};

// Kernel taps that are not zero, in row order; their sum is 1, or there are none.
struct StarKernel {
  struct Run {
    std::int32_t dx;  // of the first tap
    std::size_t first;
    std::size_t count;
  };
  std::int32_t radius;
  std::vector<std::vector<Run>> rows;  // from -radius to radius
  std::vector<double> taps;
};

// Throws std::bad_alloc for a radius above 4096 px.
StarKernel star_kernel(const StarShape& shape);

// The finite plane `light` convolved with the kernel, zeros outside it, summed in double. Up to
// some three thousand million products the sum is taken directly; beyond that through the frequency
// domain, to about 1e-7 of the light within reach.
Image spread_by_star(const Image& light, const StarKernel& kernel);

}  // namespace morva
