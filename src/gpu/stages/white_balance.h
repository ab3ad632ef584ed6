// White balance of the camera.
#pragma once

#include "gpu/device.h"
#include "profiles/json_access.h"

namespace morva::gpu {

// Scene-linear RGB, in place, by the gains of wb_gains(); the picture itself without a shift.
GImage apply_wb(Device& device, GImage picture, const Json& film, const Json& opts);

}  // namespace morva::gpu
