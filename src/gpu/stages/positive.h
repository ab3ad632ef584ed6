// A positive seen by the light that passes its density, with the look of the stock, on the GPU.
#pragma once

#include <array>

#include "film/look.h"
#include "gpu/device.h"

namespace morva::gpu {

// Light, linear, 0..1, three channels, through a density of which `clear` counts as clear film: of
// three dye layers, or of one silver layer in its own tone.
GImage show_dyes(Device& device, const GImage& density, float clear, const LookParams& look);
GImage show_silver(Device& device, const GImage& density, float clear,
                   const std::array<float, 3>& tone, const LookParams& look);

}  // namespace morva::gpu
