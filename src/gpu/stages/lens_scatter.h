// Where a lens spreads light about its point: veil, bloom, glow and the softness of its glass, on
// scene-linear RGB. A picture passed by reference is changed in place.
#pragma once

#include <array>

#include "gpu/device.h"
#include "optics/lens_parameters.h"

namespace morva::gpu {

// Submits and waits for the means.
void add_veil(Device& device, const GImage& picture, const Veil& veil);

void add_bloom(Device& device, const GImage& picture, const Bloom& bloom);

// A new picture, or the same without a glow.
GImage add_glow(Device& device, GImage picture, const Glow& glow);

// The same.
GImage soften(Device& device, GImage picture, const Softness& softness);

void defocus_colours(Device& device, const GImage& picture, const std::array<double, 3>& sigma_px);

}  // namespace morva::gpu
