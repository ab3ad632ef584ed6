// Reading a picture between its pixels: bilinear, a position outside the picture taken at its edge.
// Positions are single precision; weights and the sum of four are double.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/image.h"

namespace morva {

// A position along one axis, between two samples.
struct Between {
  std::size_t lower;
  std::size_t upper;
  double upper_share;
};

inline Between between(float position, std::int32_t n) {
  const std::int32_t last = n - 1;  // as a float it would round up past 2^24
  const double inside =             // NaN gives 0
      position > 0.0f ? std::min<double>(static_cast<double>(position), last) : 0.0;
  const auto lower = static_cast<std::int32_t>(inside);
  const std::int32_t upper = std::min(lower + 1, last);
  return {static_cast<std::size_t>(lower), static_cast<std::size_t>(upper), inside - lower};
}

// The four pixels about a position and their weights.
struct FourPixels {
  std::size_t at[4];  // index of the first channel
  double weight[4];

  FourPixels(const Image& image, const Between& y, const Between& x) {
    const std::size_t top = y.lower * image.row_samples(), bottom = y.upper * image.row_samples();
    const auto c = static_cast<std::size_t>(image.c);
    at[0] = top + x.lower * c, at[1] = top + x.upper * c;
    at[2] = bottom + x.lower * c, at[3] = bottom + x.upper * c;
    const double upper_y = y.upper_share, lower_y = 1.0 - upper_y;
    const double upper_x = x.upper_share, lower_x = 1.0 - upper_x;
    weight[0] = lower_y * lower_x, weight[1] = lower_y * upper_x;
    weight[2] = upper_y * lower_x, weight[3] = upper_y * upper_x;
  }

  // `channel` points at the channel's sample of the picture's first pixel.
  float mix(const float* channel) const {
    return static_cast<float>(weight[0] * static_cast<double>(channel[at[0]]) +
                              weight[1] * static_cast<double>(channel[at[1]]) +
                              weight[2] * static_cast<double>(channel[at[2]]) +
                              weight[3] * static_cast<double>(channel[at[3]]));
  }
};

}  // namespace morva
