#include "gpu/vulkan_test.h"

// The layer that looks for missing barriers does not free all of its own records.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libVkLayer_khronos_validation\n";
}

namespace morva::gpu {

void keep_debug_layer_loaded() {
  static const auto open_for_ever = [] {
    const auto machine = platform::make_vulkan_platform("libvulkan.so.1");
    auto* factory = new std::unique_ptr<platform::Factory>;
    if (machine->enable_debug_layer().ok()) EXPECT_TRUE(machine->create_factory(factory).ok());
    return factory;
  }();
  static_cast<void>(open_for_ever);
}

}  // namespace morva::gpu
