#include "finish/relief.h"

#include <algorithm>

#include "image/filters.h"

namespace morva {

namespace {

// The far side of a slope darkens more than the near side brightens: paper scatters what it gets.
constexpr float kGlint = 0.34f;
constexpr float kShade = 0.85f;

// Peak slope of a unit step bent by a Gaussian of sigma 1, 1 / sqrt(2 pi).
constexpr float kStepSlope = 0.398942f;

// Damp paper follows the die to the floor of all but its finest strokes, and leaves the sheet only
// where the die bites.
float bitten(float bent) {
  constexpr float skin = 0.1f, floor_at = 0.7f;
  const float t = std::clamp((bent - skin) / (floor_at - skin), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

}  // namespace

float light_on_slope(float lit, float strength) {
  const float slope = std::clamp(lit, -kSteepestLit, kSteepestLit);
  return 1.0f + strength * (slope > 0.0f ? kGlint : kShade) * slope;
}

void light_pixel(float* pixel, int channels, float light) {
  if (light > 1.0f) {
    const float brightest = *std::max_element(pixel, pixel + channels);
    if (brightest * light > 1.0f) light = std::max(1.0f, 1.0f / brightest);
  }
  for (int k = 0; k < channels; ++k) pixel[k] *= light;
}

void press_relief(Image& sheet, const Image& mask, int left, int top, const SheetRect& paper,
                  const Press& press) {
  Image depth = blur_plane(mask, press.bend_px);
  for (float& d : depth.data) d = bitten(d);
  const float sign = press.raised ? -1.0f : 1.0f;
  // Of a central difference, which spans two pixels.
  const float gain = sign * 0.5f * static_cast<float>(press.bend_px) * kSteepestLit /
                     (kStepSlope * (kLightAcross + kLightDown));
  const int first_row = std::max(1, paper.top - top);
  const int last_row = std::min(mask.h - 1, paper.bottom - top);
  const int first_column = std::max(1, paper.left - left);
  const int last_column = std::min(mask.w - 1, paper.right - left);
  for (int y = first_row; y < last_row; ++y) {
    for (int x = first_column; x < last_column; ++x) {
      const float across = depth.at(y, x + 1) - depth.at(y, x - 1);
      const float down = depth.at(y + 1, x) - depth.at(y - 1, x);
      const float lit = -gain * (kLightAcross * across + kLightDown * down);
      const float light = light_on_slope(lit, press.strength) -
                          press.strength * press.hollow * sign * depth.at(y, x);
      if (light != 1.0f) light_pixel(&sheet.at(top + y, left + x), sheet.c, light);
    }
  }
}

}  // namespace morva
