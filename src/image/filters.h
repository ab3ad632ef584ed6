// Gaussian blurs and the one-dimensional correlation beneath them, with the arithmetic of
// scipy.ndimage: samples are single precision between passes, sums are double and taken in a fixed
// order. All of it is pure and starts no thread. NaN and infinity spread as far as the kernel
// reaches, no further.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "image/image.h"
#include "image/pixel_size.h"

namespace morva {

// What stands beyond the ends of a line. A mode of any other number behaves as `reflect`.
enum Boundary : int {
  kBoundaryNearest = 0,   // the edge sample
  kBoundaryReflect = 1,   // mirrored, the edge sample repeats: c b a | a b c | c b a
  kBoundaryWrap = 2,      // periodic
  kBoundaryConstant = 3,  // 0.0
};

// Filters the H x W plane `src` into `dst` (no overlap): each row when `along_rows`, else each
// column. Each output is kernel[centre] * x[0], then (x[-k] + x[+k]) * kernel[centre - k] added
// from the far taps inwards. Throws std::logic_error when the kernel's length is even or a pair of
// taps differs by more than the machine epsilon of a double.
void correlate1d(const float* src, float* dst, int H, int W, bool along_rows,
                 const std::vector<double>& kernel, int mode);

// Weights at -radius .. radius, summing to 1.
std::vector<double> gaussian_kernel(double sigma, std::int64_t radius);

// Four sigmas, to the nearest whole sample. Throws std::length_error when sigma is not a number or
// the radius passes a million samples, which no raster calls for.
std::int64_t gaussian_radius(double sigma);

// Columns first, then rows. The image must have one channel (std::logic_error); a sigma of at most
// 1e-15 gives a copy.
Image gaussian_filter(const Image& image, double sigma, int mode);

// The same along a line of values.
std::vector<float> gaussian_filter_line(const std::vector<float>& values, double sigma, int mode);

// Blur with the edge samples continued, for one channel or for any number of them. Above a sigma of
// 10 px the picture is reduced until about 6 px remain, blurred there and enlarged again, so that
// the cost is bounded.
Image blur_plane(const Image& image, double sigma);
Image blur_image(const Image& image, double sigma);

// The reduced picture of such a blur; nothing where the blur is made at full size.
struct ReducedBlur {
  PixelSize size;
  double sigma = 0.0;  // px, there
};
std::optional<ReducedBlur> reduced_blur(PixelSize size, double sigma);

}  // namespace morva
