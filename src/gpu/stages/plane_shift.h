// A plane out of register.
#pragma once

#include "gpu/device.h"

namespace morva::gpu {

// `plane`, one channel, moved by whole pixels, as a new plane; its edges continue.
GImage shifted_plane(Device& device, const GImage& plane, std::int32_t down, std::int32_t right);

}  // namespace morva::gpu
