// Instant film on the GPU: print/instant_positive.h. The texture of the pack is drawn on the CPU, a
// round trip for every picture that shows it.
#pragma once

#include "gpu/stages/frame.h"
#include "print/instant_positive.h"

namespace morva::gpu {

// Reflectance, linear, 0..1, three channels. `scene`: linear light as the layers see it; its buffer
// may be changed.
GImage develop_instant(const Frame& frame, GImage scene);
// The same for a pack of one silver layer.
GImage develop_instant_mono(const Frame& frame, GImage scene);

// From exposed light to a new picture of the sheet's densities.
GImage transfer_dyes(Device& device, const GImage& light, const InstantParams& params);

}  // namespace morva::gpu
