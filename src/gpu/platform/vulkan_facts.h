// What a physical device is and can do, asked once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gpu/platform/platform.h"
#include "gpu/platform/vulkan_instance.h"

namespace morva::gpu::platform::vulkan {

struct QueueFamily {
  std::uint32_t index = 0;
  std::uint32_t queues = 0;
  std::uint32_t timestamp_bits = 0;
};

struct DeviceFacts {
  VkPhysicalDevice handle = VK_NULL_HANDLE;
  VkPhysicalDeviceProperties properties{};
  VkPhysicalDeviceMemoryProperties memory{};
  std::uint64_t most_allocation_bytes = ~std::uint64_t{0};
  std::uint32_t most_push_descriptors = 0;
  std::optional<QueueFamily> queues;  // one that computes
  bool push_descriptors = false;
  bool timeline_semaphores = false;
  bool host_query_reset = false;
  bool doubles = false;
  bool robust_access = false;   // out of bounds stays inside the buffer
  bool robust_access2 = false;  // and reads zeros
  bool memory_budget = false;
  bool fault_reports = false;

  bool software() const { return properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU; }
};

DeviceFacts read_facts(const Instance& instance, VkPhysicalDevice device);

AdapterDescription describe(const DeviceFacts& facts);
Architecture architecture_of(const DeviceFacts& facts);

// What is too small to bind what every dispatch needs; empty when nothing is.
std::string layout_shortage(const DeviceFacts& facts);
// Whether the device has all that this platform asks for.
bool usable(const DeviceFacts& facts);

// Fails where the driver does not tell.
Result memory_info(const Instance& instance, const DeviceFacts& facts, Segment segment,
                   MemoryInfo* out);

}  // namespace morva::gpu::platform::vulkan
