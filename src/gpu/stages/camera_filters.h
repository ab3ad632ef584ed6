// The filters of the camera: a graduated and a star filter before the lens, a colour and a
// diffusion filter behind it.
#pragma once

#include "gpu/device.h"
#include "profiles/json_access.h"
#include "profiles/store.h"

namespace morva::gpu {

// Scene-linear RGB in and out; options, order and errors are those of the CPU's stages. The buffer
// of the picture given may be changed.

// The star filter runs on the CPU.
GImage apply_front_filters(Device& device, GImage picture, const Json& opts,
                           const ProfileStore& store);

// Haze waits for the GPU.
GImage apply_filters(Device& device, GImage picture, const Json& film, const Json& opts,
                     const ProfileStore& store);

}  // namespace morva::gpu
