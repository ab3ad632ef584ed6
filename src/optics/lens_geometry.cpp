#include "optics/lens_geometry.h"

#include <cmath>
#include <vector>

#include "image/growing_image.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

constexpr double kStraight = 1e-5;
constexpr double kSameSize = 1e-9;

// Half the distance between the centres of the first and the last of n pixels.
float centre_of(std::int32_t n) {
  return static_cast<float>(n - 1) / 2.0f;
}

// Positions along an axis of the samples that a magnification by `factor` brings to each pixel.
std::vector<Between> magnified_axis(std::int32_t n, float factor) {
  const float centre = centre_of(n);
  std::vector<Between> axis;
  axis.reserve(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i)
    axis.push_back(between((static_cast<float>(i) - centre) / factor + centre, n));
  return axis;
}

void magnify_channel(Image& picture, std::int32_t k, double factor) {
  if (std::fabs(factor - 1.0) <= kSameSize) return;
  const Image plane = extract_channel(picture, k);
  const std::vector<Between> rows = magnified_axis(picture.h, static_cast<float>(factor));
  const std::vector<Between> columns = magnified_axis(picture.w, static_cast<float>(factor));
  float* out = picture.data.data() + k;
  for (const Between& y : rows)
    for (const Between& x : columns) {
      *out = FourPixels(plane, y, x).mix(plane.data.data());
      out += picture.c;
    }
}

}  // namespace

Image distort(Image picture, const Distortion& distortion) {
  if (std::fabs(distortion.k1) <= kStraight && std::fabs(distortion.k2) <= kStraight)
    return picture;
  const auto k1 = static_cast<float>(distortion.k1), k2 = static_cast<float>(distortion.k2);
  const float cy = centre_of(picture.h), cx = centre_of(picture.w);
  const float unit =
      static_cast<float>(std::sqrt(static_cast<double>(cx) * static_cast<double>(cx) +
                                   static_cast<double>(cy) * static_cast<double>(cy)));
  Image out = reserve_image(picture.h, picture.w, picture.c);
  for (std::int32_t i = 0; i < picture.h; ++i) {
    const float y = (static_cast<float>(i) - cy) / unit;
    float* to = add_rows(out, 1);
    for (std::int32_t j = 0; j < picture.w; ++j) {
      const float x = (static_cast<float>(j) - cx) / unit;
      const float r2 = x * x + y * y;
      const float f = r2 * k2 * r2 + (r2 * k1 + 1.0f);
      const FourPixels from(picture, between(f * y * unit + cy, picture.h),
                            between(f * x * unit + cx, picture.w));
      for (std::int32_t k = 0; k < picture.c; ++k) *to++ = from.mix(picture.data.data() + k);
    }
  }
  return out;
}

Image part_colours(Image picture, double lateral_colour) {
  if (!(lateral_colour > 0.0)) return picture;
  magnify_channel(picture, 0, 1.0 + lateral_colour);
  magnify_channel(picture, 2, 1.0 - lateral_colour);
  return picture;
}

}  // namespace morva
