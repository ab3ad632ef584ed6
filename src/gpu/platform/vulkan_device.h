// One GPU as it can be chosen. The device made on it hands out everything else.
#pragma once

#include <memory>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

std::unique_ptr<Adapter> make_adapter(std::shared_ptr<Instance> instance, VkPhysicalDevice device,
                                      bool loss_records);

}  // namespace morva::gpu::platform::vulkan
