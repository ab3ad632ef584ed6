// The relief of a thick layer, on the GPU: print/print_relief.h.
#pragma once

#include <array>

#include "gpu/device.h"
#include "print/print_relief.h"

namespace morva::gpu {

// Lights `print`, three channels, by the slopes of the ink plane `ink`, in place.
void light_relief(Device& device, const GImage& print, const GImage& ink, const ReliefBlock& relief,
                  double px_per_mm);

// How far each place is turned to the light, as a new plane.
GImage slope_to_light(Device& device, const GImage& height, const std::array<double, 2>& light);

// The hyperbolic tangent of every sample, in place.
void squash(Device& device, const GImage& plane);

}  // namespace morva::gpu
