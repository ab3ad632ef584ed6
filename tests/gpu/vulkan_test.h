// What tests on the real platform share: the software device, watched by the validation layer,
// which must have nothing to say.
#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gpu/device_test.h"
#include "gpu/platform/vulkan_platform.h"

namespace morva::gpu {

// Unloaded, the layer would have no name by which a leak of its own could be told from ours.
void keep_debug_layer_loaded();

class VulkanTest : public ::testing::Test {
 protected:
  void SetUp() override {
    forget_everything();
    keep_debug_layer_loaded();
    setenv("MORVA_DX12_DEBUG", "1", 1);
  }
  void TearDown() override {
    if (device) {
      for (const std::string& message : device->debug_messages()) ADD_FAILURE() << message;
    }
    device.reset();
    unsetenv("MORVA_DX12_DEBUG");
    forget_everything();
  }

  static void set_budget(double submit_ms, double dispatch_ms) {
    gpu_budget().submit_ms = submit_ms;
    gpu_budget().dispatch_ms = dispatch_ms;
  }
  Device& make() { return device.emplace(true, *machine); }
  // Copies `count` floats by a kernel.
  void copy_by_kernel(Buffer& from, Buffer& to, std::uint32_t count) {
    const LaunchGrid shape = grid(count);
    device->dispatch(Kernel::copy_main, shape.groups_x, shape.groups_y, {count}, {},
                     {&from, nullptr, &to});
  }

  std::unique_ptr<platform::Platform> machine =
      platform::make_vulkan_platform("libvulkan.so.1");  // its switches die with the test
  std::optional<Device> device;
};

}  // namespace morva::gpu
