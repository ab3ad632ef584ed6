#include "gpu/vulkan_test.h"

// The layer that looks for missing barriers does not free all of its own records.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libVkLayer_khronos_validation\n";
}

// Neither the driver nor the layer is built for the sanitizer, which cannot see how they lock.
extern "C" const char* __tsan_default_suppressions() {
  return "race:libvulkan_lvp\nrace:libVkLayer_khronos_validation\n";
}

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
