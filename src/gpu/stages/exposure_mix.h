// What the emulsion sees of the scene's colour: film/exposure_mix.h on the GPU.
#pragma once

#include "gpu/stages/frame.h"

namespace morva::gpu {

// On three channels, in place: the buffer is shared by every copy of `scene`.
void apply_exposure_mix(const Frame& frame, const GImage& scene);

}  // namespace morva::gpu
