// The connection to the machine's drivers. Whatever comes out of it keeps it open.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "gpu/platform/vulkan_calls.h"
#include "gpu/platform/vulkan_messages.h"

namespace morva::gpu::platform::vulkan {

struct InstanceWishes {
  bool debug_layer = false;
  bool kernel_checks = false;  // with the debug layer
};

struct Instance {
  InstanceCalls calls;
  VkInstance handle = VK_NULL_HANDLE;
  MessageStore messages;
  VkDebugUtilsMessengerEXT messenger = VK_NULL_HANDLE;

  Instance() = default;
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
};

struct DebugLayer {
  bool checks_kernels = false;  // and not only the calls
};

// The validation layer; nothing where it is not installed.
std::optional<DebugLayer> find_debug_layer(const LoaderCalls& loader);

// Success with a null instance where no driver is installed.
Result open_instance(const LoaderCalls& loader, const InstanceWishes& wishes,
                     std::shared_ptr<Instance>* out);

// The machine's devices, the fastest kind first, CPU devices last.
Result list_devices(const Instance& instance, std::vector<VkPhysicalDevice>* out);

}  // namespace morva::gpu::platform::vulkan
