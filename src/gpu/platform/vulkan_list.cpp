#include "gpu/platform/vulkan_list.h"

#include <array>
#include <utility>

#include "gpu/platform/vulkan_memory.h"
#include "gpu/platform/vulkan_pipeline.h"

namespace morva::gpu::platform::vulkan {

namespace {

// Where in the GPU a buffer is used, and how.
struct Use {
  VkPipelineStageFlags stage;
  VkAccessFlags access;
};

constexpr Use kKernels{VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT,
                       VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT};
constexpr Use kKernelsReading{VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, VK_ACCESS_SHADER_READ_BIT};
constexpr Use kCopiesWriting{VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT};
constexpr Use kCopiesReading{VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_READ_BIT};
constexpr Use kCopies{VK_PIPELINE_STAGE_TRANSFER_BIT,
                      VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT};
constexpr Use kHostReading{VK_PIPELINE_STAGE_HOST_BIT, VK_ACCESS_HOST_READ_BIT};
constexpr Use kAll{VK_PIPELINE_STAGE_ALL_COMMANDS_BIT,
                   VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT};

Use use_of(State state) {
  switch (state) {
    case State::unordered_access:
      return kKernels;
    case State::shader_resource:
      return kKernelsReading;
    case State::copy_dest:
      return kCopiesWriting;
    case State::copy_source:
      return kCopiesReading;
    default:
      return kAll;
  }
}

// The memory that lists are recorded into; a list holds on to it.
struct CommandPool {
  std::shared_ptr<Core> core;
  VkCommandPool handle = VK_NULL_HANDLE;

  explicit CommandPool(std::shared_ptr<Core> owner) : core(std::move(owner)) {}
  ~CommandPool() { core->calls.DestroyCommandPool(core->device, handle, nullptr); }
  CommandPool(const CommandPool&) = delete;
  CommandPool& operator=(const CommandPool&) = delete;
};

class VulkanAllocator : public Allocator {
 public:
  explicit VulkanAllocator(std::shared_ptr<CommandPool> pool) : pool_(std::move(pool)) {}
  void set_name(const std::string& name) override {
    pool_->core->name(VK_OBJECT_TYPE_COMMAND_POOL, handle_number(pool_->handle), name);
  }
  Result reset() override {
    Core& core = *pool_->core;
    if (!core.loss().ok()) return core.loss();
    return core.answer(core.calls.ResetCommandPool(core.device, pool_->handle, 0));
  }
  const std::shared_ptr<CommandPool>& pool() const { return pool_; }

 private:
  std::shared_ptr<CommandPool> pool_;
};

class VulkanQueryHeap : public QueryHeap {
 public:
  VulkanQueryHeap(std::shared_ptr<Core> core, VkQueryPool pool, std::uint32_t count)
      : handle(pool), size(count), core_(std::move(core)) {}
  ~VulkanQueryHeap() override { core_->calls.DestroyQueryPool(core_->device, handle, nullptr); }
  void set_name(const std::string& name) override {
    core_->name(VK_OBJECT_TYPE_QUERY_POOL, handle_number(handle), name);
  }

  const VkQueryPool handle;
  const std::uint32_t size;

 private:
  std::shared_ptr<Core> core_;
};

class VulkanList : public List {
 public:
  explicit VulkanList(std::shared_ptr<Core> core) : core_(std::move(core)) {}
  ~VulkanList() override { free_commands(); }

  void set_name(const std::string& name) override {
    name_ = name;
    core_->name(VK_OBJECT_TYPE_COMMAND_BUFFER, handle_number(commands_), name_);
  }

  Result reset(Allocator& allocator) override {
    if (!core_->loss().ok()) return core_->loss();
    const Result made = commands_from(static_cast<VulkanAllocator&>(allocator).pool());
    if (!made.ok()) return made;
    VkCommandBufferBeginInfo info{};
    info.sType = VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO;
    info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    const Result begun = core_->answer(core_->calls.BeginCommandBuffer(commands_, &info));
    if (!begun.ok()) return begun;
    words_.fill(0);
    bound_.fill(VK_NULL_HANDLE);
    layout_ = VK_NULL_HANDLE;
    clean_queries_ = nullptr;
    order(kAll, kAll);  // what lists before this one wrote
    return kOk;
  }

  Result close() override {
    order(kCopiesWriting, kHostReading);
    return core_->answer(core_->calls.EndCommandBuffer(commands_));
  }

  void set_layout(Layout& layout) override { layout_ = layout_handle(layout); }
  void set_pipeline(Pipeline& pipeline) override {
    core_->calls.CmdBindPipeline(commands_, VK_PIPELINE_BIND_POINT_COMPUTE,
                                 pipeline_handle(pipeline));
  }
  void set_constants(const std::array<std::uint32_t, kConstantWords>& words) override {
    for (std::size_t i = 0; i < words.size(); ++i) words_[i] = words[i];
  }
  void set_band_row(std::uint32_t row) override { words_.back() = row; }
  void bind_table(Resource& table) override { bind(0, table); }
  void bind_buffer(std::uint32_t slot, Resource& buffer) override { bind(slot + 1, buffer); }

  void dispatch(std::uint32_t groups_x, std::uint32_t groups_y, std::uint32_t groups_z) override {
    std::array<VkDescriptorBufferInfo, kBindings> buffers{};
    std::array<VkWriteDescriptorSet, kBindings> writes{};
    std::uint32_t count = 0;
    for (std::uint32_t binding = 0; binding < kBindings; ++binding) {
      if (bound_[binding] == VK_NULL_HANDLE) continue;
      buffers[count] = {bound_[binding], 0, VK_WHOLE_SIZE};
      writes[count].sType = VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET;
      writes[count].dstBinding = binding;
      writes[count].descriptorCount = 1;
      writes[count].descriptorType = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
      writes[count].pBufferInfo = &buffers[count];
      ++count;
    }
    core_->calls.CmdPushDescriptorSetKHR(commands_, VK_PIPELINE_BIND_POINT_COMPUTE, layout_, 0,
                                         count, writes.data());
    core_->calls.CmdPushConstants(commands_, layout_, VK_SHADER_STAGE_COMPUTE_BIT, 0, sizeof words_,
                                  words_.data());
    core_->calls.CmdDispatch(commands_, groups_x, groups_y, groups_z);
  }

  void barrier() override {
    order({kKernels.stage, VK_ACCESS_SHADER_WRITE_BIT},
          {kKernels.stage | kCopies.stage, kKernels.access | kCopies.access});
  }

  void transition(Resource& buffer, State from, State to) override {
    auto& resource = static_cast<VulkanResource&>(buffer);
    const Use before = use_of(from);
    const Use after = use_of(to);
    VkBufferMemoryBarrier info{};
    info.sType = VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER;
    info.srcAccessMask = before.access;
    info.dstAccessMask = after.access;
    info.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    info.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    info.buffer = resource.buffer();
    info.size = VK_WHOLE_SIZE;
    core_->calls.CmdPipelineBarrier(commands_, before.stage, after.stage, 0, 0, nullptr, 1, &info,
                                    0, nullptr);
    resource.copied_in = 0;
  }

  void copy(Resource& to, std::uint64_t to_offset, Resource& from, std::uint64_t from_offset,
            std::uint64_t bytes) override {
    auto& target = static_cast<VulkanResource&>(to);
    after_other_copies(target);
    const VkBufferCopy region{from_offset, to_offset, bytes};
    core_->calls.CmdCopyBuffer(commands_, static_cast<VulkanResource&>(from).buffer(),
                               target.buffer(), 1, &region);
  }

  void marker(const char* name) override {
    const auto insert = core_->instance->calls.CmdInsertDebugUtilsLabelEXT;
    if (insert == nullptr) return;
    VkDebugUtilsLabelEXT label{};
    label.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_LABEL_EXT;
    label.pLabelName = name;
    insert(commands_, &label);
  }

  void end_query(QueryHeap& heap, std::uint32_t index) override {
    auto& queries = static_cast<VulkanQueryHeap&>(heap);
    if (clean_queries_ != &queries) {
      core_->calls.ResetQueryPool(core_->device, queries.handle, 0, queries.size);
      clean_queries_ = &queries;
    }
    core_->calls.CmdWriteTimestamp(commands_, VK_PIPELINE_STAGE_BOTTOM_OF_PIPE_BIT, queries.handle,
                                   index);
  }

  void resolve(QueryHeap& heap, std::uint32_t count, Resource& to) override {
    auto& target = static_cast<VulkanResource&>(to);
    after_other_copies(target);
    core_->calls.CmdCopyQueryPoolResults(commands_, static_cast<VulkanQueryHeap&>(heap).handle, 0,
                                         count, target.buffer(), 0, sizeof(std::uint64_t),
                                         VK_QUERY_RESULT_64_BIT | VK_QUERY_RESULT_WAIT_BIT);
  }

  VkCommandBuffer commands() const { return commands_; }

 private:
  static constexpr std::uint32_t kBindings = kBufferSlots + 1;

  void bind(std::uint32_t binding, Resource& buffer) {
    bound_.at(binding) = static_cast<VulkanResource&>(buffer).buffer();
  }

  // All of `before` is finished and seen before any of `after` begins.
  void order(Use before, Use after) {
    VkMemoryBarrier info{};
    info.sType = VK_STRUCTURE_TYPE_MEMORY_BARRIER;
    info.srcAccessMask = before.access;
    info.dstAccessMask = after.access;
    core_->calls.CmdPipelineBarrier(commands_, before.stage, after.stage, 0, 1, &info, 0, nullptr,
                                    0, nullptr);
    copy_stretch_ = ++core_->copy_stretches;
  }

  // Two copies into one buffer: the state does not change between them, so nobody else orders them.
  void after_other_copies(VulkanResource& target) {
    if (target.copied_in == copy_stretch_) order(kCopies, kCopies);
    target.copied_in = copy_stretch_;
  }

  Result commands_from(const std::shared_ptr<CommandPool>& pool) {
    if (pool_ == pool) return kOk;
    VkCommandBufferAllocateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO;
    info.commandPool = pool->handle;
    info.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    info.commandBufferCount = 1;
    VkCommandBuffer commands = nullptr;
    const Result result =
        core_->answer(core_->calls.AllocateCommandBuffers(core_->device, &info, &commands));
    if (!result.ok()) return result;
    free_commands();
    pool_ = pool;
    commands_ = commands;
    if (!name_.empty()) set_name(std::string(name_));
    return kOk;
  }

  void free_commands() {
    if (commands_ == nullptr) return;
    core_->calls.FreeCommandBuffers(core_->device, pool_->handle, 1, &commands_);
  }

  std::shared_ptr<Core> core_;
  std::shared_ptr<CommandPool> pool_;
  VkCommandBuffer commands_ = nullptr;
  std::string name_;
  std::array<std::uint32_t, kConstantWords + 1> words_{};  // as they are pushed
  std::array<VkBuffer, kBindings> bound_{};
  VkPipelineLayout layout_ = VK_NULL_HANDLE;
  const VulkanQueryHeap* clean_queries_ = nullptr;  // the heap that this list has reset
  std::uint64_t copy_stretch_ = 0;
};

}  // namespace

Result make_allocator(std::shared_ptr<Core> core, std::unique_ptr<Allocator>* out) {
  VkCommandPoolCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO;
  info.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
  info.queueFamilyIndex = core->facts.queues->index;
  auto pool = std::make_shared<CommandPool>(std::move(core));
  Core& owner = *pool->core;
  const Result result =
      owner.answer(owner.calls.CreateCommandPool(owner.device, &info, nullptr, &pool->handle));
  if (result.ok()) *out = std::make_unique<VulkanAllocator>(std::move(pool));
  return result;
}

Result make_list(std::shared_ptr<Core> core, Allocator& allocator, std::unique_ptr<List>* out) {
  auto list = std::make_unique<VulkanList>(std::move(core));
  const Result result = list->reset(allocator);
  if (result.ok()) *out = std::move(list);
  return result;
}

Result make_query_heap(std::shared_ptr<Core> core, std::uint32_t count,
                       std::unique_ptr<QueryHeap>* out) {
  VkQueryPoolCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_QUERY_POOL_CREATE_INFO;
  info.queryType = VK_QUERY_TYPE_TIMESTAMP;
  info.queryCount = count;
  VkQueryPool pool = VK_NULL_HANDLE;
  const Result result =
      core->answer(core->calls.CreateQueryPool(core->device, &info, nullptr, &pool));
  if (result.ok()) *out = std::make_unique<VulkanQueryHeap>(std::move(core), pool, count);
  return result;
}

VkCommandBuffer recorded_commands(List& list) {
  return static_cast<VulkanList&>(list).commands();
}

}  // namespace morva::gpu::platform::vulkan
