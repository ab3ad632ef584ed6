// A graduated filter before the lens.
#pragma once

#include "gpu/device.h"
#include "optics/graduated_filter.h"

namespace morva::gpu {

// Scene-linear RGB in, a new picture out.
GImage apply_graduated_filter(Device& device, const GImage& picture, const Graduation& graduation);

}  // namespace morva::gpu
