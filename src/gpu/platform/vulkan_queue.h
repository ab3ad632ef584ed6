// The queue that runs lists, and the fence that tells how far it has come.
#pragma once

#include <memory>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

Result make_queue(std::shared_ptr<Core> core, std::unique_ptr<Queue>* out);
Result make_fence(std::shared_ptr<Core> core, std::uint64_t value, std::unique_ptr<Fence>* out);

}  // namespace morva::gpu::platform::vulkan
