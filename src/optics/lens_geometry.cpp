#include "optics/lens_geometry.h"

#include <cmath>
#include <vector>

#include "image/growing_image.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

// Half the distance between the centres of the first and the last of n pixels.
float centre_of(std::int32_t n) {
  return static_cast<float>(n - 1) / 2.0f;
}

std::vector<float> places_of(std::int32_t n, float centre, float unit_px) {
  std::vector<float> places;
  places.reserve(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) places.push_back((static_cast<float>(i) - centre) / unit_px);
  return places;
}

std::vector<Between> magnified_samples(std::int32_t n, double factor) {
  std::vector<Between> samples;
  samples.reserve(static_cast<std::size_t>(n));
  for (const float position : magnified_axis(n, factor)) samples.push_back(between(position, n));
  return samples;
}

void magnify_channel(Image& picture, std::int32_t k, double factor) {
  const Image plane = extract_channel(picture, k);
  const std::vector<Between> rows = magnified_samples(picture.h, factor);
  const std::vector<Between> columns = magnified_samples(picture.w, factor);
  float* out = picture.data.data() + k;
  for (const Between& y : rows)
    for (const Between& x : columns) {
      *out = FourPixels(plane, y, x).mix(plane.data.data());
      out += picture.c;
    }
}

}  // namespace

CentredAxes centred_axes(std::int32_t h, std::int32_t w) {
  CentredAxes axes;
  axes.centre_y = centre_of(h);
  axes.centre_x = centre_of(w);
  const auto cy = static_cast<double>(axes.centre_y), cx = static_cast<double>(axes.centre_x);
  axes.half_diagonal_px = static_cast<float>(std::sqrt(cx * cx + cy * cy));
  axes.y = places_of(h, axes.centre_y, axes.half_diagonal_px);
  axes.x = places_of(w, axes.centre_x, axes.half_diagonal_px);
  return axes;
}

std::vector<float> magnified_axis(std::int32_t n, double factor) {
  const float centre = centre_of(n);
  std::vector<float> positions = places_of(n, centre, static_cast<float>(factor));
  for (float& position : positions) position += centre;
  return positions;
}

Image distort(Image picture, const Distortion& distortion) {
  if (distortion.k1 == 0.0 && distortion.k2 == 0.0) return picture;
  const auto k1 = static_cast<float>(distortion.k1), k2 = static_cast<float>(distortion.k2);
  const CentredAxes axes = centred_axes(picture.h, picture.w);
  const float cy = axes.centre_y, cx = axes.centre_x, unit = axes.half_diagonal_px;
  Image out = reserve_image(picture.h, picture.w, picture.c);
  for (const float y : axes.y) {
    float* to = add_rows(out, 1);
    for (const float x : axes.x) {
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
