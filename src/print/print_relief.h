// The relief of a thick layer: where the ink climbs or falls its slopes turn to the light or away
// from it, and a glossy layer throws some light back.
#pragma once

#include <array>

#include "image/image.h"
#include "print/process_block.h"

namespace morva {

// Gloss grows with the ink by this power of it.
inline constexpr float kGlossPower = 0.7f;

// Whether slopes show, and whether there is a relief at all.
bool has_slopes(const ReliefBlock& relief);
bool shows(const ReliefBlock& relief);

// Sigma in pixels of the blur that makes the ink plane of a sheet of w x h pixels its height.
double relief_smooth_px(const ReliefBlock& relief, int w, int h, double px_per_mm);

// Light by a slope, from the deviation of the picture's own slopes. Their steepness is the measure,
// so that a soft picture shows its relief as a crisp one does; a slope that no eye would see stays
// unseen.
float light_per_slope(const ReliefBlock& relief, double deviation);

// How far each place is turned to the light: the slope of the height against its direction.
Image slope_to_light(const Image& height, const std::array<double, 2>& light);

// Lights `print` (linear RGB) by the slopes of the ink plane `ink` of the same size. Stays
// within 0..1.
void light_relief(Image& print, const Image& ink, const ReliefBlock& relief, double px_per_mm);

}  // namespace morva
