#include "gpu/platform/vulkan_memory.h"

#include <algorithm>
#include <utility>

namespace morva::gpu::platform::vulkan {

namespace {

constexpr VkMemoryPropertyFlags kMapped =
    VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
constexpr VkMemoryPropertyFlags kCached = kMapped | VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
constexpr VkMemoryPropertyFlags kLocal = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;

// Drivers may allow as few as 4096 allocations. Kernels' buffers leave some of them, for their user
// can free others and try again; an upload or a download cannot.
constexpr std::uint32_t kKeptForTransfers = 64;

// What to look for, the best first.
std::vector<VkMemoryPropertyFlags> wishes_for(Heap heap) {
  if (heap == Heap::upload) return {kMapped};
  if (heap == Heap::readback) return {kCached, kMapped};
  return {kLocal, 0};
}

// Counts one more allocation, unless there are too many.
bool may_allocate(Core& core, Heap heap) {
  const std::uint32_t kept = heap == Heap::device_local ? kKeptForTransfers : 0;
  const std::uint32_t most = core.facts.properties.limits.maxMemoryAllocationCount;
  if (core.allocations++ < most - std::min(most, kept)) return true;
  --core.allocations;
  return false;
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

std::vector<std::uint32_t> memory_types(const DeviceFacts& facts, std::uint32_t allowed,
                                        Heap heap) {
  const VkPhysicalDeviceMemoryProperties& memory = facts.memory;
  const bool one_will_do = !architecture_of(facts).uma;
  std::vector<std::uint32_t> found;
  std::uint32_t heaps_seen = 0;
  for (const VkMemoryPropertyFlags wanted : wishes_for(heap)) {
    for (std::uint32_t type = 0; type < memory.memoryTypeCount; ++type) {
      const std::uint32_t from = std::uint32_t{1} << memory.memoryTypes[type].heapIndex;
      const bool serves = (memory.memoryTypes[type].propertyFlags & wanted) == wanted;
      if ((allowed >> type & 1) == 0 || !serves || (heaps_seen & from) != 0) continue;
      heaps_seen |= from;
      found.push_back(type);  // drivers list what serves a wish best first
      if (one_will_do) return found;
    }
  }
  return found;
}

VulkanResource::~VulkanResource() {
  if (buffer_ != VK_NULL_HANDLE) core_->calls.DestroyBuffer(core_->device, buffer_, nullptr);
  if (memory_ == VK_NULL_HANDLE) return;
  core_->calls.FreeMemory(core_->device, memory_, nullptr);
  --core_->allocations;
}

Result VulkanResource::make(Heap heap, std::uint64_t bytes) {
  if (!core_->loss().ok()) return core_->loss();
  if (too_large(core_->facts, heap, bytes)) return kOutOfMemory;
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
  result = allocate(needs);
  if (!result.ok()) return result;
  return core_->answer(core_->calls.BindBufferMemory(core_->device, buffer_, memory_, 0));
}

Result VulkanResource::allocate(const VkMemoryRequirements& needs) {
  const VkPhysicalDeviceMemoryProperties& memory = core_->facts.memory;
  if (!may_allocate(*core_, heap_)) return kOutOfMemory;
  Result result = kOutOfMemory;
  for (const std::uint32_t type : memory_types(core_->facts, needs.memoryTypeBits, heap_)) {
    if (needs.size > memory.memoryHeaps[memory.memoryTypes[type].heapIndex].size) continue;
    VkMemoryAllocateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO;
    info.allocationSize = needs.size;
    info.memoryTypeIndex = type;
    result = core_->answer(core_->calls.AllocateMemory(core_->device, &info, nullptr, &memory_));
    if (result != kOutOfMemory) break;
  }
  if (!result.ok()) --core_->allocations;
  return result;
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
