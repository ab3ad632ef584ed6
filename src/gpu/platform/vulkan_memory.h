// Buffers, each with memory of its own.
#pragma once

#include <memory>
#include <vector>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

// The types of memory for a heap among those `allowed`, the one to try first in front. Where host
// and GPU share one memory there may be several, each of a heap of its own.
std::vector<std::uint32_t> memory_types(const DeviceFacts& facts, std::uint32_t allowed, Heap heap);

class VulkanResource : public Resource {
 public:
  explicit VulkanResource(std::shared_ptr<Core> core) : core_(std::move(core)) {}
  ~VulkanResource() override;
  // Once, on a new one; after a failure it is only good to be destroyed.
  Result make(Heap heap, std::uint64_t bytes);

  void set_name(const std::string& name) override;
  Result map(std::uint64_t read_bytes, void** memory) override;
  void unmap() override;

  VkBuffer buffer() const { return buffer_; }

  // The stretch of copies that last wrote here; for the list that records them.
  std::uint64_t copied_in = 0;

 private:
  Result allocate(const VkMemoryRequirements& needs);

  std::shared_ptr<Core> core_;
  VkBuffer buffer_ = VK_NULL_HANDLE;
  VkDeviceMemory memory_ = VK_NULL_HANDLE;
  Heap heap_ = Heap::device_local;
};

Result make_resource(std::shared_ptr<Core> core, Heap heap, std::uint64_t bytes,
                     std::unique_ptr<Resource>* out);

}  // namespace morva::gpu::platform::vulkan
