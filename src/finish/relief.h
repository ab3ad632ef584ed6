// What a die leaves in paper: no ink, only a relief that shows by the light that falls across it.
#pragma once

#include "image/image.h"

namespace morva {

// A rectangle of whole pixels, right and bottom excluded.
struct SheetRect {
  int left = 0, top = 0, right = 0, bottom = 0;
};

// How much a slope across the sheet and one down it meet of the lamp's light: it stands at the
// upper left, and rather above the sheet than beside it.
inline constexpr float kLightAcross = 0.42f;
inline constexpr float kLightDown = 0.655f;
inline constexpr float kSteepestLit = 1.4f;

// How a die goes into the paper.
struct Press {
  double bend_px = 0.6;   // how softly the paper bends, a sigma
  float strength = 0.0f;  // of light and shade on it
  float hollow = 0.0f;    // shade on its floor, of the strength: a narrow hollow sees little light
  bool raised = false;    // stands out of the sheet instead
};

// Light on paper that slopes by `lit` towards the lamp, away from it below 0, against flat paper.
float light_on_slope(float lit, float strength);

// `light` on the `channels` samples of a pixel. White paper has nothing left to gain: the brightest
// sample gets no brighter than 1 by it, and the others keep their share.
void light_pixel(float* pixel, int channels, float light);

// Presses `mask` (one channel, 0..1, its pixel (0, 0) at (left, top) of the sheet) into the paper.
// Around its figure the mask must be empty for four sigmas of the bend, but where the figure runs
// off the paper. Nothing outside `paper` changes.
void press_relief(Image& sheet, const Image& mask, int left, int top, const SheetRect& paper,
                  const Press& press);

}  // namespace morva
