// The brush: everything in the demo scene is laid over what is there with the coverage of a signed
// distance, so that every edge is anti-aliased.
#pragma once

#include "picture.h"
#include "scene/vectors.h"

namespace morva::host::scene {

inline constexpr int kWidth = 1800;
inline constexpr int kHeight = 1200;

// A part of the canvas, in pixels; only a bound, the shape decides.
struct Area {
  float left, top, right, bottom;
};

inline constexpr Area kEverywhere = {0.0f, 0.0f, kWidth, kHeight};

inline Area around(Point centre, float rx, float ry) {
  return {centre.x - rx, centre.y - ry, centre.x + rx, centre.y + ry};
}

// Calls visit(point, pixel) for each pixel of the area that lies on the canvas.
template <class Visit>
void for_each_pixel(Picture& canvas, const Area& area, const Visit& visit) {
  const int left = std::max(0, static_cast<int>(std::floor(area.left)));
  const int top = std::max(0, static_cast<int>(std::floor(area.top)));
  const int right = std::min(kWidth, static_cast<int>(std::ceil(area.right)));
  const int bottom = std::min(kHeight, static_cast<int>(std::ceil(area.bottom)));
  for (int y = top; y < bottom; ++y) {
    float* samples = canvas.samples.get() + static_cast<std::size_t>(y) * canvas.row_samples();
    for (int x = left; x < right; ++x) {
      const Point centre{static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f};
      visit(centre, samples + 3 * static_cast<std::ptrdiff_t>(x));
    }
  }
}

inline Color color_at(const float* pixel) {
  return {pixel[0], pixel[1], pixel[2]};
}
inline void put(float* pixel, Color color) {
  pixel[0] = color.r;
  pixel[1] = color.g;
  pixel[2] = color.b;
}

// Lays paint(point) over the inside of distance(point). The edge is `softness` pixels wide.
template <class Distance, class Paint>
void fill(Picture& canvas, const Area& area, const Distance& distance, const Paint& paint,
          float softness = 1.0f) {
  for_each_pixel(canvas, area, [&](Point p, float* pixel) {
    const float coverage = clamp01(0.5f - distance(p) / softness);
    if (coverage > 0.0f) put(pixel, mix(color_at(pixel), paint(p), coverage));
  });
}

// Takes light away: multiplies by 1 - strength at the middle of an ellipse, fading to its rim.
inline void shade_ellipse(Picture& canvas, Point centre, float rx, float ry, float strength) {
  for_each_pixel(canvas, around(centre, 1.6f * rx, 1.6f * ry), [&](Point p, float* pixel) {
    const float r = std::hypot((p.x - centre.x) / rx, (p.y - centre.y) / ry);
    put(pixel, color_at(pixel) * (1.0f - strength * (1.0f - smooth_step(0.35f, 1.6f, r))));
  });
}

// Adds light that falls off as a bell about a point.
inline void add_glow(Picture& canvas, Point centre, float radius, Color color) {
  for_each_pixel(canvas, around(centre, 3.0f * radius, 3.0f * radius), [&](Point p, float* pixel) {
    put(pixel,
        color_at(pixel) + color * (bell(p.x - centre.x, radius) * bell(p.y - centre.y, radius)));
  });
}

}  // namespace morva::host::scene
