#include "gpu/platform/vulkan_device.h"

#include <utility>

#include "gpu/platform/vulkan_fault.h"
#include "gpu/platform/vulkan_list.h"
#include "gpu/platform/vulkan_memory.h"
#include "gpu/platform/vulkan_pipeline.h"
#include "gpu/platform/vulkan_queue.h"

namespace morva::gpu::platform::vulkan {

namespace {

class VulkanDevice : public Device {
 public:
  explicit VulkanDevice(std::shared_ptr<Core> core) : core_(std::move(core)) {}

  Result architecture(Architecture* out) override {
    *out = architecture_of(core_->facts);
    return kOk;
  }
  Result double_support(bool* out) override {
    *out = core_->facts.doubles;
    return kOk;
  }
  Result create_queue(std::unique_ptr<Queue>* out) override { return make_queue(core_, out); }
  Result create_allocator(std::unique_ptr<Allocator>* out) override {
    return make_allocator(core_, out);
  }
  Result create_list(Allocator& allocator, std::unique_ptr<List>* out) override {
    return make_list(core_, allocator, out);
  }
  Result create_fence(std::uint64_t value, std::unique_ptr<Fence>* out) override {
    return make_fence(core_, value, out);
  }
  Result create_query_heap(std::uint32_t count, std::unique_ptr<QueryHeap>* out) override {
    return make_query_heap(core_, count, out);
  }
  Result create_buffer(Heap heap, std::uint64_t bytes, State,
                       std::unique_ptr<Resource>* out) override {
    return make_resource(core_, heap, bytes, out);
  }
  Result check_layout(std::string* message) override {
    const std::string shortage = layout_shortage(core_->facts);
    if (shortage.empty()) return kOk;
    *message = shortage;
    return kFailed;
  }
  Result create_layout(std::unique_ptr<Layout>* out) override { return make_layout(core_, out); }
  Result create_pipeline(Layout& layout, std::span<const std::byte> code,
                         std::unique_ptr<Pipeline>* out) override {
    return make_pipeline(core_, layout, code, out);
  }
  Result removed_reason() override { return core_->removed_reason(); }
  void remove() override { core_->doom(); }
  Result fault_report(std::string* out) override { return describe_fault(*core_, out); }
  Result keep_messages(std::uint32_t limit) override {
    if (core_->instance->messenger == VK_NULL_HANDLE) return kFailed;
    core_->instance->messages.keep(limit);
    return kOk;
  }
  std::vector<DebugMessage> take_messages() override { return core_->instance->messages.take(); }

 private:
  std::shared_ptr<Core> core_;
};

class VulkanAdapter : public Adapter {
 public:
  VulkanAdapter(std::shared_ptr<Instance> instance, VkPhysicalDevice device, bool loss_records)
      : instance_(std::move(instance)),
        facts_(read_facts(*instance_, device)),
        loss_records_(loss_records) {}

  AdapterDescription description() const override { return describe(facts_); }
  Result try_device() override { return usable(facts_) ? kOk : kFailed; }
  Result create_device(std::unique_ptr<Device>* out) override {
    if (!usable(facts_)) return kFailed;
    std::shared_ptr<Core> core;
    const Result result = open_core(instance_, facts_, loss_records_, &core);
    if (result.ok()) *out = std::make_unique<VulkanDevice>(std::move(core));
    return result;
  }
  Result memory(Segment segment, MemoryInfo* out) override {
    return memory_info(*instance_, facts_, segment, out);
  }

 private:
  std::shared_ptr<Instance> instance_;
  DeviceFacts facts_;
  bool loss_records_;
};

}  // namespace

std::unique_ptr<Adapter> make_adapter(std::shared_ptr<Instance> instance, VkPhysicalDevice device,
                                      bool loss_records) {
  return std::make_unique<VulkanAdapter>(std::move(instance), device, loss_records);
}

}  // namespace morva::gpu::platform::vulkan
