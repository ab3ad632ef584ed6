// The one raster type: pictures, masks, fields and grain planes alike. Height, width and channels,
// row-major and interleaved, single precision, no stride and no padding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace morva {

// Samples of a raster. A size that no memory holds fails like memory itself: std::bad_alloc.
std::size_t sample_count(std::int64_t h, std::int64_t w, std::int64_t c);

struct Image {
  std::int32_t h = 0;
  std::int32_t w = 0;
  std::int32_t c = 0;
  std::vector<float> data;  // sample (y, x, k) at (y * w + x) * c + k

  Image() = default;
  Image(std::int32_t height, std::int32_t width, std::int32_t channels, float fill = 0.0f);

  std::size_t pixels() const { return static_cast<std::size_t>(h) * static_cast<std::size_t>(w); }
  std::size_t row_samples() const {
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(c);
  }
  float& at(std::int32_t y, std::int32_t x, std::int32_t k = 0) {
    return data[(static_cast<std::size_t>(y) * w + x) * c + k];
  }
  float at(std::int32_t y, std::int32_t x, std::int32_t k = 0) const {
    return data[(static_cast<std::size_t>(y) * w + x) * c + k];
  }
};

// Channel `k` as a one-channel image of the same size.
Image extract_channel(const Image& image, std::int32_t k);

// The reverse: writes the one-channel `plane` into channel `k` of `image`. Sizes must agree.
void store_channel(Image& image, std::int32_t k, const Image& plane);

// Weighted sum of the three channels, (w0 * R + w1 * G) + w2 * B, all in single precision.
Image mix_channels(const Image& image, float w0, float w1, float w2);

// Every pixel of a three-channel image times three gains, in place.
void scale_channels(Image& image, const float gains[3]);

// Every pixel of a three-channel image by a 3 x 3 matrix in row order: channel k becomes
// (m[3k] * R + m[3k + 1] * G) + m[3k + 2] * B, in place.
void mix_rows(Image& image, const std::array<float, 9>& m);

// Rec. 709 luminance weights, as single-precision values.
inline constexpr float kLumaR = 0.2126f;
inline constexpr float kLumaG = 0.7152f;
inline constexpr float kLumaB = 0.0722f;

}  // namespace morva
