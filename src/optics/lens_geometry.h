// Where a lens puts the light: its distortion, and the different size of the picture in red and in
// blue.
#pragma once

#include <cstdint>
#include <vector>

#include "image/image.h"
#include "optics/lens_parameters.h"

namespace morva {

// The pixels' places about the centre of a picture, in half diagonals.
struct CentredAxes {
  float centre_y;  // px
  float centre_x;
  float half_diagonal_px;  // 0 for a single pixel, whose places are then no numbers
  std::vector<float> y;    // of each row
  std::vector<float> x;    // of each column
};

CentredAxes centred_axes(std::int32_t h, std::int32_t w);

// Positions along an axis of n pixels of the samples that a magnification brings to each of them.
std::vector<float> magnified_axis(std::int32_t n, double factor);

// Three channels; coefficients of 0 give the picture back.
Image distort(Image picture, const Distortion& distortion);

// Magnifies red by 1 + `lateral_colour` and blue by 1 - `lateral_colour` about the centre; only a
// positive one does.
Image part_colours(Image picture, double lateral_colour);

}  // namespace morva
