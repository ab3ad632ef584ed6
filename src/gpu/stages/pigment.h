// The sheet and the colour that lies on it, on the GPU: print/pigment.h.
#pragma once

#include <array>

#include "gpu/device.h"
#include "print/pigment.h"

namespace morva::gpu {

// A new picture of three channels.
GImage colour_of_ink(Device& device, const GImage& ink, const PigmentBlock& pigment,
                     const std::array<float, 3>& paper);

}  // namespace morva::gpu
