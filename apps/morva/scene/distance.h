// Signed distances to the outlines of plain shapes, in pixels: negative inside, positive outside.
// Ellipse and leaf are close to the distance near their outline, which is where it is used.
#pragma once

#include "scene/vectors.h"

namespace morva::host::scene {

inline float length(float x, float y) {
  return std::sqrt(x * x + y * y);
}

inline float disc(Point p, Point centre, float radius) {
  return length(p.x - centre.x, p.y - centre.y) - radius;
}

inline float ellipse(Point p, Point centre, float rx, float ry) {
  const float u = (p.x - centre.x) / rx;
  const float v = (p.y - centre.y) / ry;
  const float r = length(u, v);
  const float slope = length(u / rx, v / ry);
  return slope > 0.0f ? r * (r - 1.0f) / slope : -std::min(rx, ry);
}

inline float box(Point p, Point corner, Point opposite, float rounding = 0.0f) {
  const float dx =
      std::fabs(p.x - 0.5f * (corner.x + opposite.x)) - 0.5f * (opposite.x - corner.x) + rounding;
  const float dy =
      std::fabs(p.y - 0.5f * (corner.y + opposite.y)) - 0.5f * (opposite.y - corner.y) + rounding;
  return length(std::max(dx, 0.0f), std::max(dy, 0.0f)) + std::min(std::max(dx, dy), 0.0f) -
         rounding;
}

// A stroke from a to b, round at its ends.
inline float stroke(Point p, Point a, Point b, float half_width) {
  const float bx = b.x - a.x, by = b.y - a.y;
  const float t = clamp01(((p.x - a.x) * bx + (p.y - a.y) * by) / (bx * bx + by * by));
  return length(p.x - a.x - t * bx, p.y - a.y - t * by) - half_width;
}

// Between y = top and y = bottom, with straight sides that run from one half width to the other.
inline float trapezium(Point p, float centre_x, float top, float bottom, float half_top,
                       float half_bottom) {
  const float slope = (half_bottom - half_top) / (bottom - top);
  const float side = (std::fabs(p.x - centre_x) - (half_top + slope * (p.y - top))) /
                     std::sqrt(1.0f + slope * slope);
  return std::max(side, std::max(top - p.y, p.y - bottom));
}

// Round shapes run into one another over about `reach` pixels.
inline float blended(float a, float b, float reach) {
  const float h = clamp01(0.5f + 0.5f * (b - a) / reach);
  return mix(b, a, h) - reach * h * (1.0f - h);
}

}  // namespace morva::host::scene
