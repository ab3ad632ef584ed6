#include "gpu/platform/vulkan_facts.h"

#include <algorithm>
#include <cstring>

namespace morva::gpu::platform::vulkan {

namespace {

constexpr std::uint32_t kGroupThreads = 256;
constexpr std::uint32_t kMostGroups = 65535;                 // along one axis
constexpr std::uint32_t kSharedBytes = 20 * 1024;            // of the tiled Gaussians
constexpr std::uint32_t kStorageBuffers = kBufferSlots + 1;  // and the table
constexpr std::uint32_t kPushBytes = (kConstantWords + 1) * sizeof(std::uint32_t);

std::vector<VkExtensionProperties> extensions_of(const Instance& instance,
                                                 VkPhysicalDevice device) {
  std::uint32_t count = 0;
  const auto& ask = instance.calls.EnumerateDeviceExtensionProperties;
  if (ask(device, nullptr, &count, nullptr) != VK_SUCCESS) return {};
  std::vector<VkExtensionProperties> all(count);
  if (ask(device, nullptr, &count, all.data()) < 0) return {};
  all.resize(count);
  return all;
}

// A structure that is asked for beside others, hung in front of them.
template <class Head, class Part>
void chain(Head& head, Part& part, VkStructureType type) {
  part.sType = type;
  part.pNext = head.pNext;
  head.pNext = &part;
}

void read_limits(const Instance& instance, DeviceFacts& facts) {
  VkPhysicalDeviceProperties2 all{};
  all.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
  VkPhysicalDeviceMaintenance3Properties allocation{};
  chain(all, allocation, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_3_PROPERTIES);
  VkPhysicalDevicePushDescriptorPropertiesKHR push{};
  if (facts.push_descriptors) {
    chain(all, push, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PUSH_DESCRIPTOR_PROPERTIES_KHR);
  }
  VkPhysicalDeviceMaintenance4Properties buffer{};
  buffer.maxBufferSize = ~VkDeviceSize{0};
  if (facts.properties.apiVersion >= VK_API_VERSION_1_3) {
    chain(all, buffer, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_4_PROPERTIES);
  }
  instance.calls.GetPhysicalDeviceProperties2(facts.handle, &all);
  facts.most_allocation_bytes = std::min(allocation.maxMemoryAllocationSize, buffer.maxBufferSize);
  facts.most_push_descriptors = push.maxPushDescriptors;
}

void read_features(const Instance& instance, DeviceFacts& facts) {
  VkPhysicalDeviceFeatures2 all{};
  all.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2;
  VkPhysicalDeviceTimelineSemaphoreFeatures timeline{};
  chain(all, timeline, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_TIMELINE_SEMAPHORE_FEATURES);
  VkPhysicalDeviceHostQueryResetFeatures queries{};
  chain(all, queries, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_HOST_QUERY_RESET_FEATURES);
  VkPhysicalDeviceRobustness2FeaturesEXT robustness{};
  if (facts.robust_access2) {
    chain(all, robustness, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ROBUSTNESS_2_FEATURES_EXT);
  }
  VkPhysicalDeviceFaultFeaturesEXT fault{};
  if (facts.fault_reports) {
    chain(all, fault, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FAULT_FEATURES_EXT);
  }
  instance.calls.GetPhysicalDeviceFeatures2(facts.handle, &all);
  facts.timeline_semaphores = timeline.timelineSemaphore == VK_TRUE;
  facts.host_query_reset = queries.hostQueryReset == VK_TRUE;
  facts.doubles = all.features.shaderFloat64 == VK_TRUE;
  facts.robust_access = all.features.robustBufferAccess == VK_TRUE;
  facts.robust_access2 = facts.robust_access && robustness.robustBufferAccess2 == VK_TRUE;
  facts.fault_reports = fault.deviceFault == VK_TRUE;
}

// Queues that only compute run beside the desktop's own drawing; queues with a clock can be timed.
int queue_rank(const VkQueueFamilyProperties& family) {
  const int beside_drawing = (family.queueFlags & VK_QUEUE_GRAPHICS_BIT) == 0 ? 1 : 0;
  const int has_clock = family.timestampValidBits > 0 ? 2 : 0;
  return beside_drawing + has_clock;
}

std::optional<QueueFamily> choose_queues(const Instance& instance, VkPhysicalDevice device) {
  std::uint32_t count = 0;
  instance.calls.GetPhysicalDeviceQueueFamilyProperties(device, &count, nullptr);
  std::vector<VkQueueFamilyProperties> all(count);
  instance.calls.GetPhysicalDeviceQueueFamilyProperties(device, &count, all.data());
  std::optional<QueueFamily> best;
  int best_rank = -1;
  for (std::uint32_t index = 0; index < count; ++index) {
    const VkQueueFamilyProperties& family = all[index];
    if ((family.queueFlags & VK_QUEUE_COMPUTE_BIT) == 0 || family.queueCount == 0) continue;
    if (queue_rank(family) <= best_rank) continue;
    best_rank = queue_rank(family);
    best = QueueFamily{index, family.queueCount, family.timestampValidBits};
  }
  return best;
}

bool is_local(const VkPhysicalDeviceMemoryProperties& memory, std::uint32_t heap) {
  return (memory.memoryHeaps[heap].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0;
}

bool one_memory(const VkPhysicalDeviceMemoryProperties& memory) {
  for (std::uint32_t heap = 0; heap < memory.memoryHeapCount; ++heap) {
    if (!is_local(memory, heap)) return false;
  }
  return true;
}

}  // namespace

DeviceFacts read_facts(const Instance& instance, VkPhysicalDevice device) {
  DeviceFacts facts;
  facts.handle = device;
  instance.calls.GetPhysicalDeviceProperties(device, &facts.properties);
  if (facts.properties.apiVersion < VK_API_VERSION_1_2) return facts;
  for (const VkExtensionProperties& extension : extensions_of(instance, device)) {
    const auto is = [&](const char* name) {
      return std::strcmp(extension.extensionName, name) == 0;
    };
    if (is(VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME)) facts.push_descriptors = true;
    if (is(VK_EXT_ROBUSTNESS_2_EXTENSION_NAME)) facts.robust_access2 = true;
    if (is(VK_EXT_MEMORY_BUDGET_EXTENSION_NAME)) facts.memory_budget = true;
    if (is(VK_EXT_DEVICE_FAULT_EXTENSION_NAME)) facts.fault_reports = true;
  }
  read_limits(instance, facts);
  read_features(instance, facts);
  facts.queues = choose_queues(instance, device);
  VkPhysicalDeviceMemoryProperties2 memory{};
  memory.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_PROPERTIES_2;
  instance.calls.GetPhysicalDeviceMemoryProperties2(device, &memory);
  facts.memory = memory.memoryProperties;
  return facts;
}

AdapterDescription describe(const DeviceFacts& facts) {
  AdapterDescription description;
  description.name = facts.properties.deviceName;
  description.software = facts.software();
  if (one_memory(facts.memory)) return description;  // none of it is the GPU's own
  for (std::uint32_t heap = 0; heap < facts.memory.memoryHeapCount; ++heap) {
    if (is_local(facts.memory, heap)) {
      description.dedicated_bytes += facts.memory.memoryHeaps[heap].size;
    }
  }
  return description;
}

Architecture architecture_of(const DeviceFacts& facts) {
  constexpr VkMemoryPropertyFlags kCoherent =
      VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT | VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT |
      VK_MEMORY_PROPERTY_HOST_COHERENT_BIT | VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
  Architecture architecture;
  architecture.uma = facts.software() || one_memory(facts.memory) ||
                     facts.properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  for (std::uint32_t type = 0; type < facts.memory.memoryTypeCount; ++type) {
    const VkMemoryPropertyFlags flags = facts.memory.memoryTypes[type].propertyFlags;
    if (architecture.uma && (flags & kCoherent) == kCoherent) architecture.cache_coherent = true;
  }
  return architecture;
}

std::string layout_shortage(const DeviceFacts& facts) {
  const VkPhysicalDeviceLimits& limits = facts.properties.limits;
  const auto short_of = [](const char* limit, std::uint32_t has, std::uint32_t needed) {
    return std::string(limit) + " is " + std::to_string(has) + ", needed are " +
           std::to_string(needed);
  };
  if (limits.maxPushConstantsSize < kPushBytes) {
    return short_of("maxPushConstantsSize", limits.maxPushConstantsSize, kPushBytes);
  }
  if (facts.most_push_descriptors < kStorageBuffers) {
    return short_of("maxPushDescriptors", facts.most_push_descriptors, kStorageBuffers);
  }
  if (limits.maxPerStageDescriptorStorageBuffers < kStorageBuffers) {
    return short_of("maxPerStageDescriptorStorageBuffers",
                    limits.maxPerStageDescriptorStorageBuffers, kStorageBuffers);
  }
  return {};
}

bool usable(const DeviceFacts& facts) {
  const VkPhysicalDeviceLimits& limits = facts.properties.limits;
  return facts.properties.apiVersion >= VK_API_VERSION_1_2 && facts.queues &&
         facts.push_descriptors && facts.timeline_semaphores && facts.host_query_reset &&
         limits.maxComputeSharedMemorySize >= kSharedBytes &&
         limits.maxComputeWorkGroupInvocations >= kGroupThreads &&
         limits.maxComputeWorkGroupSize[0] >= kGroupThreads &&
         limits.maxComputeWorkGroupCount[0] >= kMostGroups &&
         limits.maxComputeWorkGroupCount[1] >= kMostGroups && layout_shortage(facts).empty();
}

Result memory_info(const Instance& instance, const DeviceFacts& facts, Segment segment,
                   MemoryInfo* out) {
  if (!facts.memory_budget) return kFailed;
  VkPhysicalDeviceMemoryBudgetPropertiesEXT budget{};
  VkPhysicalDeviceMemoryProperties2 all{};
  all.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_PROPERTIES_2;
  chain(all, budget, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_BUDGET_PROPERTIES_EXT);
  instance.calls.GetPhysicalDeviceMemoryProperties2(facts.handle, &all);
  MemoryInfo sum;
  for (std::uint32_t heap = 0; heap < all.memoryProperties.memoryHeapCount; ++heap) {
    if (is_local(all.memoryProperties, heap) != (segment == Segment::local)) continue;
    sum.budget += budget.heapBudget[heap];
    sum.usage += budget.heapUsage[heap];
  }
  *out = sum;
  return kOk;
}

}  // namespace morva::gpu::platform::vulkan
