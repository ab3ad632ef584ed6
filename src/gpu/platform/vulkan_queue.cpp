// Fences are timeline semaphores. A list and a signal are submissions of their own: a signal waits
// for all that its queue was given before.

#include "gpu/platform/vulkan_queue.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>

#include "gpu/platform/vulkan_list.h"

namespace morva::gpu::platform::vulkan {

namespace {

class VulkanFence : public Fence {
 public:
  VulkanFence(std::shared_ptr<Core> core, VkSemaphore semaphore, std::uint64_t value)
      : core_(std::move(core)), semaphore_(semaphore), coming_(value) {}
  ~VulkanFence() override {
    wait_until(*core_, semaphore_, coming_);
    core_->calls.DestroySemaphore(core_->device, semaphore_, nullptr);
  }

  void set_name(const std::string& name) override {
    core_->name(VK_OBJECT_TYPE_SEMAPHORE, handle_number(semaphore_), name);
  }
  Result open_event() override { return kOk; }  // a semaphore can be slept on as it is
  std::uint64_t completed() override {
    std::uint64_t value = 0;
    const VkResult result =
        core_->calls.GetSemaphoreCounterValue(core_->device, semaphore_, &value);
    if (!core_->answer(result).ok()) return 0;
    // Where the device was lost the counter may stand at its goal; a wait tells.
    return core_->answer(ask_for(*core_, semaphore_, value, 0)).ok() ? value : 0;
  }
  Result wait(std::uint64_t value) override {
    // What a lost device was not given any more never comes.
    if (value <= coming_ || core_->loss().ok()) wait_until(*core_, semaphore_, value);
    return kOk;
  }

  VkSemaphore semaphore() const { return semaphore_; }
  void expect(std::uint64_t value) { coming_ = value; }

 private:
  std::shared_ptr<Core> core_;
  VkSemaphore semaphore_;
  std::atomic<std::uint64_t> coming_;  // the value that work handed over will raise it to
};

class VulkanQueue : public Queue {
 public:
  VulkanQueue(std::shared_ptr<Core> core, DriverQueue& queue, VkSemaphore done)
      : core_(std::move(core)), queue_(queue), done_(done) {}
  ~VulkanQueue() override {
    wait_until(*core_, done_, executed_);
    core_->calls.DestroySemaphore(core_->device, done_, nullptr);
  }

  void set_name(const std::string& name) override {
    const std::lock_guard guard(queue_.mutex);
    core_->name(VK_OBJECT_TYPE_QUEUE, handle_number(queue_.handle), name);
  }
  void execute(List& list) override {
    if (!core_->may_submit()) return;
    const VkCommandBuffer commands = recorded_commands(list);
    const VkResult result = submit(&commands, done_, executed_ + 1);
    if (result == VK_SUCCESS) {
      ++executed_;
    } else {
      core_->lose(result == VK_ERROR_DEVICE_LOST ? kDeviceRemoved : kDriverInternalError);
    }
  }
  Result signal(Fence& fence, std::uint64_t value) override {
    if (!core_->may_submit()) {
      wait_until(*core_, done_, executed_);  // what was handed over before the loss still runs
      return kOk;                            // the loss is told by the device
    }
    auto& target = static_cast<VulkanFence&>(fence);
    const VkResult result = submit(nullptr, target.semaphore(), value);
    if (result == VK_SUCCESS) {
      target.expect(value);
      return kOk;
    }
    const Result told = core_->answer(result);
    if (result == VK_ERROR_DEVICE_LOST) return kOk;
    wait_until(*core_, done_, executed_);  // nobody else can wait for it now
    return told;
  }
  Result timestamp_frequency(std::uint64_t* ticks_per_s) override {
    const double period_ns = core_->facts.properties.limits.timestampPeriod;
    const bool has_clock = core_->facts.queues->timestamp_bits > 0 && period_ns > 0.0;
    *ticks_per_s = has_clock ? static_cast<std::uint64_t>(std::nearbyint(1e9 / period_ns)) : 0;
    return kOk;
  }

 private:
  VkResult submit(const VkCommandBuffer* commands, VkSemaphore raised, std::uint64_t value) {
    VkTimelineSemaphoreSubmitInfo values{};
    values.sType = VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO;
    values.signalSemaphoreValueCount = 1;
    values.pSignalSemaphoreValues = &value;
    VkSubmitInfo info{};
    info.sType = VK_STRUCTURE_TYPE_SUBMIT_INFO;
    info.pNext = &values;
    info.commandBufferCount = commands != nullptr ? 1 : 0;
    info.pCommandBuffers = commands;
    info.signalSemaphoreCount = 1;
    info.pSignalSemaphores = &raised;
    const std::lock_guard guard(queue_.mutex);
    return core_->calls.QueueSubmit(queue_.handle, 1, &info, VK_NULL_HANDLE);
  }

  std::shared_ptr<Core> core_;
  DriverQueue& queue_;
  VkSemaphore done_;            // raised by every list
  std::uint64_t executed_ = 0;  // lists handed over
};

}  // namespace

Result make_queue(std::shared_ptr<Core> core, std::unique_ptr<Queue>* out) {
  VkSemaphore done = VK_NULL_HANDLE;
  const Result result = make_timeline(*core, 0, &done);
  if (!result.ok()) return result;
  DriverQueue& queue = core->queues[std::min(core->queues_handed_out++, core->queue_count - 1)];
  *out = std::make_unique<VulkanQueue>(std::move(core), queue, done);
  return kOk;
}

Result make_fence(std::shared_ptr<Core> core, std::uint64_t value, std::unique_ptr<Fence>* out) {
  VkSemaphore semaphore = VK_NULL_HANDLE;
  const Result result = make_timeline(*core, value, &semaphore);
  if (!result.ok()) return result;
  *out = std::make_unique<VulkanFence>(std::move(core), semaphore, value);
  return kOk;
}

}  // namespace morva::gpu::platform::vulkan
