// Where a lens puts the light: its distortion, and the different size of the picture in red and in
// blue.
#pragma once

#include "gpu/device.h"
#include "optics/lens_parameters.h"

namespace morva::gpu {

// A new picture; coefficients of 0 give the picture itself.
GImage distort(Device& device, GImage picture, const Distortion& distortion);

// In place: magnifies red by 1 + `lateral_colour` and blue by 1 - `lateral_colour`; only a positive
// one does.
void part_colours(Device& device, const GImage& picture, double lateral_colour);

}  // namespace morva::gpu
