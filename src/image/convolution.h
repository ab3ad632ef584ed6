// Convolution of a plane with one large kernel, through the frequency domain, tile by tile.
#pragma once

#include <vector>

#include "image/image.h"

namespace morva {

// The plane convolved with a square kernel of side 2 * half + 1, row-major; zeros lie outside the
// plane. `half` may be at most 256. The transforms run in double; each tile's part is rounded to
// float and added. Work grows with the plane, not with plane times kernel.
Image convolve_large(const Image& plane, const std::vector<double>& kernel, int half);

}  // namespace morva
