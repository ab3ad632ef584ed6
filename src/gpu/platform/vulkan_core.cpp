#include "gpu/platform/vulkan_core.h"

#include <algorithm>
#include <vector>

namespace morva::gpu::platform::vulkan {

namespace {

// A wait asks this often whether another queue has seen the device go.
constexpr std::uint64_t kWaitSliceNs = 100'000'000;

// The features of a device that are switched on: what kernels need, and reads past the end of a
// buffer as zeros.
struct Features {
  VkPhysicalDeviceFeatures2 head{};
  VkPhysicalDeviceTimelineSemaphoreFeatures timeline{};
  VkPhysicalDeviceHostQueryResetFeatures queries{};
  VkPhysicalDeviceRobustness2FeaturesEXT robustness{};
  VkPhysicalDeviceFaultFeaturesEXT fault{};
  std::vector<const char*> extensions{VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME};

  Features(const DeviceFacts& facts, bool loss_records) {
    head.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2;
    head.pNext = &timeline;
    head.features.shaderFloat64 = facts.doubles;
    head.features.robustBufferAccess = facts.robust_access;
    timeline.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_TIMELINE_SEMAPHORE_FEATURES;
    timeline.timelineSemaphore = VK_TRUE;
    timeline.pNext = &queries;
    queries.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_HOST_QUERY_RESET_FEATURES;
    queries.hostQueryReset = VK_TRUE;
    if (facts.robust_access2) {
      extensions.push_back(VK_EXT_ROBUSTNESS_2_EXTENSION_NAME);
      robustness.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ROBUSTNESS_2_FEATURES_EXT;
      robustness.robustBufferAccess2 = VK_TRUE;
      robustness.pNext = head.pNext;
      head.pNext = &robustness;
    }
    if (facts.memory_budget) extensions.push_back(VK_EXT_MEMORY_BUDGET_EXTENSION_NAME);
    if (facts.fault_reports && loss_records) {
      extensions.push_back(VK_EXT_DEVICE_FAULT_EXTENSION_NAME);
      fault.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FAULT_FEATURES_EXT;
      fault.deviceFault = VK_TRUE;
      fault.pNext = head.pNext;
      head.pNext = &fault;
    }
  }
  Features(const Features&) = delete;
  Features& operator=(const Features&) = delete;
};

}  // namespace

Core::~Core() {
  if (device == VK_NULL_HANDLE || calls.DestroyDevice == nullptr) return;
  // Whoever gave up for another reason than a lost device left work behind.
  const bool gone = dead_ && lost_ == kDeviceRemoved.code;
  if (!gone && calls.DeviceWaitIdle != nullptr) calls.DeviceWaitIdle(device);
  calls.DestroyDevice(device, nullptr);
}

Result Core::answer(VkResult result) {
  if (result == VK_ERROR_DEVICE_LOST) lose(kDeviceRemoved);
  return to_result(result);
}

void Core::lose(Result why) {
  std::uint32_t alive = kOk.code;
  lost_.compare_exchange_strong(alive, why.code);
  dead_ = true;
}

bool Core::may_submit() {
  if (doomed_) {
    std::uint32_t alive = kOk.code;
    lost_.compare_exchange_strong(alive, kDeviceRemoved.code);
  }
  return lost_ == kOk.code;
}

Result Core::removed_reason() const {
  if (!loss().ok()) return loss();
  return doomed_ ? kDeviceRemoved : kOk;
}

Result open_core(std::shared_ptr<Instance> instance, const DeviceFacts& facts, bool loss_records,
                 std::shared_ptr<Core>* out) {
  auto core = std::make_shared<Core>();
  const std::array<float, 2> priorities{1.0f, 1.0f};
  core->queue_count = std::min<std::uint32_t>(facts.queues->queues,
                                              static_cast<std::uint32_t>(core->queues.size()));
  VkDeviceQueueCreateInfo queues{};
  queues.sType = VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO;
  queues.queueFamilyIndex = facts.queues->index;
  queues.queueCount = core->queue_count;
  queues.pQueuePriorities = priorities.data();
  const Features features(facts, loss_records);
  VkDeviceCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO;
  info.pNext = &features.head;
  info.queueCreateInfoCount = 1;
  info.pQueueCreateInfos = &queues;
  info.enabledExtensionCount = static_cast<std::uint32_t>(features.extensions.size());
  info.ppEnabledExtensionNames = features.extensions.data();

  VkDevice device = VK_NULL_HANDLE;
  const VkResult answer = instance->calls.CreateDevice(facts.handle, &info, nullptr, &device);
  if (answer != VK_SUCCESS) return to_result(answer);
  core->instance = std::move(instance);
  core->facts = facts;
  core->device = device;
  if (!find_device_calls(core->instance->calls, device, &core->calls)) return kFailed;
  for (std::uint32_t index = 0; index < core->queue_count; ++index) {
    core->calls.GetDeviceQueue(device, facts.queues->index, index, &core->queues[index].handle);
  }
  *out = std::move(core);
  return kOk;
}

VkResult ask_for(const Core& core, VkSemaphore semaphore, std::uint64_t value,
                 std::uint64_t most_ns) {
  VkSemaphoreWaitInfo info{};
  info.sType = VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO;
  info.semaphoreCount = 1;
  info.pSemaphores = &semaphore;
  info.pValues = &value;
  return core.calls.WaitSemaphores(core.device, &info, most_ns);
}

void wait_until(Core& core, VkSemaphore semaphore, std::uint64_t value) {
  while (!core.dead()) {
    const VkResult result = ask_for(core, semaphore, value, kWaitSliceNs);
    if (result == VK_SUCCESS) return;
    if (result == VK_TIMEOUT) continue;
    core.lose(result == VK_ERROR_DEVICE_LOST ? kDeviceRemoved : kDriverInternalError);
  }
}

Result make_timeline(Core& core, std::uint64_t value, VkSemaphore* out) {
  VkSemaphoreTypeCreateInfo type{};
  type.sType = VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO;
  type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
  type.initialValue = value;
  VkSemaphoreCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO;
  info.pNext = &type;
  return core.answer(core.calls.CreateSemaphore(core.device, &info, nullptr, out));
}

}  // namespace morva::gpu::platform::vulkan
