// film/classic_grain.h on the GPU: filtered noise on the density.
#pragma once

#include <cstdint>
#include <vector>

#include "film/classic_grain.h"
#include "gpu/device.h"

namespace morva::gpu {

// Adds the layers to the density, in place. The draws are those of `hash` (hash_key of the film's
// stream); each layer waits for the GPU once, for the deviation of its noise.
void add_classic_grain(Device& device, const GImage& density, const std::vector<GrainLayer>& layers,
                       std::uint64_t hash);

// Of those, noise that is given, of unit deviation, for one layer.
void add_noise(Device& device, const GImage& density, const GrainLayer& layer, const GImage& noise);

}  // namespace morva::gpu
