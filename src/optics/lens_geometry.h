// Where a lens puts the light: its distortion, and the different size of the picture in red and in
// blue.
#pragma once

#include "image/image.h"
#include "optics/lens_parameters.h"

namespace morva {

// Three channels; coefficients of at most 1e-5 give the picture back.
Image distort(Image picture, const Distortion& distortion);

// Magnifies red by 1 + `lateral_colour` and blue by 1 - `lateral_colour` about the centre; only a
// positive one does.
Image part_colours(Image picture, double lateral_colour);

}  // namespace morva
