// What the driver recorded of the fault that took a device away.
#pragma once

#include <string>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

// Lines, each with its end. Fails where the driver keeps no such records.
Result describe_fault(Core& core, std::string* out);

}  // namespace morva::gpu::platform::vulkan
