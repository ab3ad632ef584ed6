// The black-and-white negative on the GPU: film/develop_bw.h.
#pragma once

#include "film/develop_bw.h"
#include "film/layers.h"
#include "gpu/stages/frame.h"

namespace morva::gpu {

// One plane of density relative to that of a mid grey. `scene`: linear light, three channels. Not
// for plates, wet or dry, whose coating and marks are made on the CPU (std::logic_error).
GImage develop_bw(const Frame& frame, GImage scene);

// What one silver layer of `film` sees of a scene, blurred by the emulsion and with the base's
// halo.
GImage light_in_silver(const Frame& frame, const GImage& scene);

// From that light to a new plane of density with base and fog. `uneven` may be without a buffer.
GImage develop_silver(Device& device, const GImage& light, const GImage& uneven,
                      const DevelopBwParams& params, Development development);

}  // namespace morva::gpu
