// Resizing with Pillow's two-pass resampler: the width first, then the height, each output a double
// sum over the filter's taps in order, rounded to single precision after each pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/image.h"

namespace morva {

// Any other number means Lanczos.
enum ResizeFilter : int {
  kResizeTriangle = 0,  // bilinear, support 1
  kResizeLanczos = 1,   // three lobes, support 3
  kResizeBicubic = 2,   // a = -0.5, support 2
  kResizeBox = 3,       // support 0.5
};

// Taps of one axis. Output i reads inputs first[i] .. first[i] + count[i] - 1 with the weights
// taps[i * tap_stride] onwards, which sum to 1.
struct ResizeCoefficients {
  std::vector<std::int32_t> first;
  std::vector<std::int32_t> count;
  std::vector<double> taps;
  std::size_t tap_stride = 0;
};

// Throws std::bad_alloc above 2^31 taps, before it takes any memory.
ResizeCoefficients resize_coefficients(std::int32_t in_size, std::int32_t out_size, int filter);

// One channel only (std::logic_error). The present size gives a copy, an empty image stays as it
// is.
Image pil_resize(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter);

// The same for every channel of an image with any number of them. A size beyond any memory fails at
// once with std::bad_alloc.
Image resize_image(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter);

}  // namespace morva
