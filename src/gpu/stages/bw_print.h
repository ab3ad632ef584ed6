// Black-and-white prints on the GPU: print/bw_print.h.
#pragma once

#include "gpu/stages/frame.h"
#include "print/bw_print.h"

namespace morva::gpu {

// A colour negative's three layer densities as one new plane, as the paper sees them.
GImage density_on_paper(const Frame& frame, const GImage& density);

// The print of a negative's one plane of density relative to mid grey: reflectance, linear, 0..1,
// three channels.
GImage print_bw(const Frame& frame, const PrintParams& params, const GImage& density);

// A colour negative on black-and-white paper. `scene` as of develop_color().
GImage print_color_on_bw(const Frame& frame, GImage scene);

// The print of one plane of density.
GImage expose_bw_paper(Device& device, const PrintParams& params, const GImage& density);

}  // namespace morva::gpu
