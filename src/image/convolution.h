// Convolution of a plane with one large kernel, through the frequency domain, tile by tile.
#pragma once

#include <vector>

#include "image/image.h"

namespace morva {

// The plane convolved with a square kernel of side 2 * half + 1, row-major; zeros lie outside the
// plane. The transforms run in double; the parts of a pixel are rounded to float and added. Plane
// and kernel are taken in blocks of 512, of which 26 spectra at most are held, some 440 MB. Throws
// std::length_error for a kernel of another size.
Image convolve_large(const Image& plane, const std::vector<double>& kernel, int half);

}  // namespace morva
