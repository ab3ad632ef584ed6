// Development and print on the GPU: flow/develop_print.h with the same choice of ways.
#pragma once

#include "gpu/stages/frame.h"
#include "image/image.h"

namespace morva::gpu {

// `work` is the scene on the film, three channels, used up. `process_mask` may be null. Returns the
// positive, linear, three channels. Three-colour plates, wet and dry plates and tubes take the
// CPU's way from here to the print.
GImage develop_print(const Frame& frame, GImage work, const Image* process_mask);

}  // namespace morva::gpu
