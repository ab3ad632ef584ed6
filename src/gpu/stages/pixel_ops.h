// Arithmetic of single pixels, one kernel each. A picture named first is changed in place: its
// buffer is shared by every copy of the GImage.
#pragma once

#include <array>

#include "gpu/device.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

GImage copy_of(Device& device, const GImage& picture);
void copy_plane(Device& device, const Plane& from, const Plane& to);

void multiply_channels(Device& device, const GImage& picture, const std::array<float, 3>& gains);
void add_channels(Device& device, const GImage& picture, const std::array<float, 3>& offsets);
// The same offset for a picture of any channel count.
void add_to_all(Device& device, const GImage& picture, float offset);
// Row-major, out = matrix * in.
void apply_matrix(Device& device, const GImage& picture, const std::array<float, 9>& matrix);
// What infrared film makes of three channels, with the weights of ir_mix().
void mix_infrared(Device& device, const GImage& picture, const std::array<float, 4>& weights);
// max(x, 0), and min(x, 1) where `to_one`.
void clamp_light(Device& device, const GImage& picture, bool to_one);
// max(x - level, 0); 0 for a sample that is not finite. `to` may be `from`.
void over_threshold(Device& device, const Plane& from, const Plane& to, float level);
// weight_a * a + weight_b * b, as a new picture of three channels.
GImage mix(Device& device, const GImage& a, float weight_a, const GImage& b, float weight_b);
// One channel: the weighted sum of three.
GImage weighted_plane(Device& device, const GImage& picture, const std::array<float, 3>& weights);
// Every channel times the one of `field`.
void multiply_by_field(Device& device, const GImage& picture, const GImage& field);
void divide(Device& device, const GImage& picture, float divisor);
// Linear light to the sRGB curve, held in 0..1, as a new picture.
GImage encode_srgb(Device& device, const GImage& light);

}  // namespace morva::gpu
