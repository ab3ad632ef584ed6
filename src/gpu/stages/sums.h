// Sums over a plane in double precision: stretches of a row on the GPU, their sums added in order
// on the CPU. A device without double precision downloads the plane instead. All of these submit
// and wait.
#pragma once

#include <array>

#include "gpu/device.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

double sum(Device& device, const Plane& plane);
// Of the transmittances 10^(offset - density).
double transmittance_sum(Device& device, const Plane& density, float offset);
// Of the weighted sums of three channels.
double weighted_sum(Device& device, const GImage& picture, const std::array<float, 3>& weights);

struct MeanDeviation {
  double mean = 0.0;
  double deviation = 0.0;  // of the population
};
MeanDeviation mean_deviation(Device& device, const Plane& plane);

}  // namespace morva::gpu
