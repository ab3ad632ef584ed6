#include "image/image.h"

#include <cassert>
#include <cstdint>
#include <new>

#include "image/large_pages.h"

namespace morva {

std::size_t sample_count(std::int64_t h, std::int64_t w, std::int64_t c) {
  constexpr std::int64_t most = PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(float));
  if (h < 0 || w < 0 || c < 0) throw std::bad_alloc();
  if (w > 0 && c > 0 && h > most / w / c) throw std::bad_alloc();
  return static_cast<std::size_t>(h * w * c);
}

Image::Image(std::int32_t height, std::int32_t width, std::int32_t channels, float fill)
    : h(height), w(width), c(channels) {
  const std::size_t samples = sample_count(height, width, channels);
  data.reserve(samples);
  prefer_large_pages(data.data(), samples * sizeof(float));
  data.assign(samples, fill);
}

Image extract_channel(const Image& image, std::int32_t k) {
  Image plane(image.h, image.w, 1);
  const float* in = image.data.data() + k;
  for (std::size_t i = 0; i < plane.data.size(); ++i) plane.data[i] = in[i * image.c];
  return plane;
}

void store_channel(Image& image, std::int32_t k, const Image& plane) {
  assert(image.h == plane.h && image.w == plane.w && plane.c == 1);
  float* out = image.data.data() + k;
  for (std::size_t i = 0; i < plane.data.size(); ++i) out[i * image.c] = plane.data[i];
}

Image mix_channels(const Image& image, float w0, float w1, float w2) {
  Image plane(image.h, image.w, 1);
  const float* in = image.data.data();
  for (std::size_t i = 0; i < plane.data.size(); ++i, in += 3)
    plane.data[i] = (w0 * in[0] + w1 * in[1]) + w2 * in[2];
  return plane;
}

void scale_channels(Image& image, const float gains[3]) {
  float* p = image.data.data();
  for (std::size_t i = 0; i < image.pixels(); ++i, p += 3)
    for (int k = 0; k < 3; ++k) p[k] *= gains[k];
}

void mix_rows(Image& image, const std::array<float, 9>& m) {
  float* p = image.data.data();
  for (std::size_t i = 0; i < image.pixels(); ++i, p += 3) {
    const float r = p[0], g = p[1], b = p[2];
    for (int k = 0; k < 3; ++k) p[k] = (m[k * 3] * r + m[k * 3 + 1] * g) + m[k * 3 + 2] * b;
  }
}

}  // namespace morva
