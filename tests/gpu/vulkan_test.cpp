#include "gpu/vulkan_test.h"

#include "gpu/driver_suppressions.h"

namespace morva::gpu {

platform::Factory* factory_kept_to_the_end = nullptr;

void keep_debug_layer_loaded() {
  if (factory_kept_to_the_end != nullptr) return;
  const auto machine = platform::make_vulkan_platform("libvulkan.so.1");
  std::unique_ptr<platform::Factory> factory;
  EXPECT_TRUE(machine->enable_debug_layer().ok());
  EXPECT_TRUE(machine->create_factory(&factory).ok());
  factory_kept_to_the_end = factory.release();
}

}  // namespace morva::gpu
