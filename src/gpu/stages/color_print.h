// A colour negative on colour paper, on the GPU: print/color_print.h.
#pragma once

#include "gpu/stages/frame.h"
#include "print/paper.h"

namespace morva::gpu {

// The print of a negative's three densities relative to mid grey: reflectance, linear, 0..1, three
// channels.
GImage print_color(const Frame& frame, const PrintParams& params, const GImage& density);

// The print of three layers' density.
GImage expose_color_paper(Device& device, const PrintParams& params, const GImage& density);

}  // namespace morva::gpu
