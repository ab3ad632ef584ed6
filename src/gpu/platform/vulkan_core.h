// The logical device that all its objects share and keep alive, and whether it is still there.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "gpu/platform/vulkan_facts.h"
#include "gpu/platform/vulkan_instance.h"

namespace morva::gpu::platform::vulkan {

// One queue of the driver, which takes one submission at a time.
struct DriverQueue {
  VkQueue handle = VK_NULL_HANDLE;
  std::mutex mutex;
};

struct Core {
  std::shared_ptr<Instance> instance;
  DeviceFacts facts;
  DeviceCalls calls;
  VkDevice device = VK_NULL_HANDLE;
  // One for renders and one for views, where the driver has two.
  std::array<DriverQueue, 2> queues;
  std::uint32_t queue_count = 0;
  std::atomic<std::uint32_t> queues_handed_out = 0;
  // Numbers the stretches of all lists in which copies may overlap.
  std::atomic<std::uint64_t> copy_stretches = 0;
  std::atomic<std::uint32_t> allocations = 0;  // of memory, alive

  Core() = default;
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // The HRESULT of a call on the device; a lost device is remembered.
  Result answer(VkResult result);
  // The driver cannot go on. The first reason stays.
  void lose(Result why);
  // The next submission will meet a lost device.
  void doom() { doomed_ = true; }
  // Whether a list may still be handed over; a doomed device is lost in the asking.
  bool may_submit();
  // The driver itself gave up: nothing that was handed over will be told of any more.
  bool dead() const { return dead_; }
  // Success while no submission has met a lost device.
  Result loss() const { return Result{lost_}; }
  Result removed_reason() const;

  void name(VkObjectType type, std::uint64_t handle, const std::string& text) const {
    name_object(instance->calls, device, type, handle, text);
  }

 private:
  std::atomic<std::uint32_t> lost_ = kOk.code;
  std::atomic<bool> doomed_ = false;
  std::atomic<bool> dead_ = false;
};

Result open_core(std::shared_ptr<Instance> instance, const DeviceFacts& facts, bool loss_records,
                 std::shared_ptr<Core>* out);

// The driver's answer to whether the semaphore has reached `value`, at the latest after `most_ns`.
VkResult ask_for(const Core& core, VkSemaphore semaphore, std::uint64_t value,
                 std::uint64_t most_ns);
// Sleeps until the semaphore has reached `value` or the driver has given up.
void wait_until(Core& core, VkSemaphore semaphore, std::uint64_t value);

Result make_timeline(Core& core, std::uint64_t value, VkSemaphore* out);

}  // namespace morva::gpu::platform::vulkan
