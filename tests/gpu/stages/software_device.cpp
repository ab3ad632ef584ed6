#include "gpu/stages/software_device.h"

#include <memory>

#include "gpu/platform/vulkan_platform.h"

namespace morva::gpu {

Device& software_device() {
  static const std::unique_ptr<Device> device =
      std::make_unique<Device>(true, platform::vulkan_platform());
  return *device;
}

}  // namespace morva::gpu
