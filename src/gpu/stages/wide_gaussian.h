// The Gaussian of filters.h for kernels too wide to be summed tap by tap.
#pragma once

#include "gpu/device.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

// With the end samples continued; `to` may be `from`. Up to a radius of 128 px it is
// gaussian_filter itself. A wider one is blurred on a copy reduced until 31 px of the sigma remain,
// whose making is reckoned as part of the blur.
void blur_full_size(Device& device, const Plane& from, const Plane& to, double sigma);

}  // namespace morva::gpu
