// Where a lens spreads light about its point: veil, bloom, glow and the softness of its glass. All
// keep the picture's size and take scene-linear RGB.
#pragma once

#include <array>

#include "image/image.h"
#include "optics/lens_parameters.h"

namespace morva {

inline constexpr float kVeilNear = 0.65f;  // share of a veil that is the wide blur
inline constexpr float kVeilFar = 0.35f;   // share that is the mean
inline constexpr double kRingHole = 0.42;  // sigma of a ring's hole by that of its disc

// A sample below 0, or one that is not a number, becomes 0.
void clamp_to_light(Image& picture);

// Adds light from everywhere: more from near by than from far, and some of the mean.
Image add_veil(Image picture, const Veil& veil);

// Adds what stands above a level, spread in two lobes.
Image add_bloom(Image picture, const Bloom& bloom);

// Mixes each channel with its own disc or ring of light, which keeps the sum but for the edges;
// samples below 0 become 0.
Image add_glow(Image picture, const Glow& glow);

Image soften(Image picture, const Softness& softness);

// Blurs each channel by its own sigma.
Image defocus_colours(Image picture, const std::array<double, 3>& sigma_px);

}  // namespace morva
