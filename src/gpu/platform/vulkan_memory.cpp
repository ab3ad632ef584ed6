#include "gpu/platform/vulkan_memory.h"

#include <optional>
#include <utility>

namespace morva::gpu::platform::vulkan {

namespace {

constexpr VkMemoryPropertyFlags kMapped =
    VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
constexpr VkMemoryPropertyFlags kCached = kMapped | VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
constexpr VkMemoryPropertyFlags kLocal = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;

// Drivers list what serves a wish best first.
std::optional<std::uint32_t> first_type(const DeviceFacts& facts, std::uint32_t allowed,
                                        VkMemoryPropertyFlags wanted) {
  for (std::uint32_t type = 0; type < facts.memory.memoryTypeCount; ++type) {
    const VkMemoryPropertyFlags has = facts.memory.memoryTypes[type].propertyFlags;
    if ((allowed >> type & 1) != 0 && (has & wanted) == wanted) return type;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> memory_type(const DeviceFacts& facts, std::uint32_t allowed,
                                         Heap heap) {
  if (heap == Heap::upload) return first_type(facts, allowed, kMapped);
  const auto best = first_type(facts, allowed, heap == Heap::readback ? kCached : kLocal);
  return best ? best : first_type(facts, allowed, heap == Heap::readback ? kMapped : 0);
}

VkBufferUsageFlags usage_of(Heap heap) {
  switch (heap) {
    case Heap::upload:
      return VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
    case Heap::readback:
      return VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    default:
      return VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT |
             VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
  }
}

// A CPU device names a small range for storage buffers and handles any.
bool too_large(const DeviceFacts& facts, Heap heap, std::uint64_t bytes) {
  if (bytes > facts.most_allocation_bytes) return true;
  const bool bound = heap == Heap::device_local && !facts.software();
  return bound && bytes > facts.properties.limits.maxStorageBufferRange;
}

}  // namespace

VulkanResource::~VulkanResource() {
  if (buffer_ != VK_NULL_HANDLE) core_->calls.DestroyBuffer(core_->device, buffer_, nullptr);
  if (memory_ != VK_NULL_HANDLE) core_->calls.FreeMemory(core_->device, memory_, nullptr);
}

Result VulkanResource::make(Heap heap, std::uint64_t bytes) {
  const DeviceFacts& facts = core_->facts;
  if (!core_->loss().ok()) return core_->loss();
  if (too_large(facts, heap, bytes)) return kOutOfMemory;
  heap_ = heap;
  VkBufferCreateInfo wanted{};
  wanted.sType = VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO;
  wanted.size = bytes;
  wanted.usage = usage_of(heap);
  Result result =
      core_->answer(core_->calls.CreateBuffer(core_->device, &wanted, nullptr, &buffer_));
  if (!result.ok()) return result;

  VkMemoryRequirements needs{};
  core_->calls.GetBufferMemoryRequirements(core_->device, buffer_, &needs);
  const std::optional<std::uint32_t> type = memory_type(facts, needs.memoryTypeBits, heap);
  if (!type) return kOutOfMemory;
  const std::uint32_t from = facts.memory.memoryTypes[*type].heapIndex;
  if (needs.size > facts.memory.memoryHeaps[from].size) return kOutOfMemory;
  VkMemoryAllocateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO;
  info.allocationSize = needs.size;
  info.memoryTypeIndex = *type;
  result = core_->answer(core_->calls.AllocateMemory(core_->device, &info, nullptr, &memory_));
  if (!result.ok()) return result;
  return core_->answer(core_->calls.BindBufferMemory(core_->device, buffer_, memory_, 0));
}

void VulkanResource::set_name(const std::string& name) {
  core_->name(VK_OBJECT_TYPE_BUFFER, handle_number(buffer_), name);
  core_->name(VK_OBJECT_TYPE_DEVICE_MEMORY, handle_number(memory_), name);
}

Result VulkanResource::map(std::uint64_t, void** memory) {
  if (heap_ == Heap::device_local) return kFailed;
  if (!core_->loss().ok()) return core_->loss();
  return core_->answer(core_->calls.MapMemory(core_->device, memory_, 0, VK_WHOLE_SIZE, 0, memory));
}

void VulkanResource::unmap() {
  core_->calls.UnmapMemory(core_->device, memory_);
}

Result make_resource(std::shared_ptr<Core> core, Heap heap, std::uint64_t bytes,
                     std::unique_ptr<Resource>* out) {
  auto resource = std::make_unique<VulkanResource>(std::move(core));
  const Result result = resource->make(heap, bytes);
  if (result.ok()) *out = std::move(resource);
  return result;
}

}  // namespace morva::gpu::platform::vulkan
