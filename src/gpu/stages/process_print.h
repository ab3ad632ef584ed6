// Prints made by hand, on the GPU: print/process_print.h.
#pragma once

#include "gpu/stages/frame.h"
#include "image/image.h"
#include "print/paper.h"
#include "print/process_print.h"

namespace morva::gpu {

// The print of the frame's paper, linear RGB, 0..1, from a negative's plane of density relative to
// mid grey. `mask` as of the CPU's stage. The random fields are the CPU's own draws. Throws as that
// stage does.
GImage print_on_process(const Frame& frame, GImage density, const Image* mask);

// The plane of ink for densities of a negative, as a new plane.
GImage ink_of_negative(Device& device, const GImage& density, const PrintParams& params);

}  // namespace morva::gpu
