#include "gpu/platform/vulkan_pipeline.h"

#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace morva::gpu::platform::vulkan {

namespace {

constexpr std::uint32_t kSpirvMagic = 0x07230203;
constexpr std::uint32_t kPushBytes = (kConstantWords + 1) * sizeof(std::uint32_t);

class VulkanLayout : public Layout {
 public:
  explicit VulkanLayout(std::shared_ptr<Core> core) : core_(std::move(core)) {}
  ~VulkanLayout() override {
    core_->calls.DestroyPipelineLayout(core_->device, whole, nullptr);
    core_->calls.DestroyDescriptorSetLayout(core_->device, buffers, nullptr);
  }
  void set_name(const std::string& name) override {
    core_->name(VK_OBJECT_TYPE_PIPELINE_LAYOUT, handle_number(whole), name);
  }

  VkDescriptorSetLayout buffers = VK_NULL_HANDLE;
  VkPipelineLayout whole = VK_NULL_HANDLE;

 private:
  std::shared_ptr<Core> core_;
};

class VulkanPipeline : public Pipeline {
 public:
  VulkanPipeline(std::shared_ptr<Core> core, VkPipeline pipeline)
      : handle(pipeline), core_(std::move(core)) {}
  ~VulkanPipeline() override { core_->calls.DestroyPipeline(core_->device, handle, nullptr); }
  void set_name(const std::string& name) override {
    core_->name(VK_OBJECT_TYPE_PIPELINE, handle_number(handle), name);
  }

  const VkPipeline handle;

 private:
  std::shared_ptr<Core> core_;
};

Result make_buffer_layout(Core& core, VkDescriptorSetLayout* out) {
  std::array<VkDescriptorSetLayoutBinding, kBufferSlots + 1> bindings{};
  for (std::uint32_t binding = 0; binding < bindings.size(); ++binding) {
    bindings[binding].binding = binding;
    bindings[binding].descriptorType = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
    bindings[binding].descriptorCount = 1;
    bindings[binding].stageFlags = VK_SHADER_STAGE_COMPUTE_BIT;
  }
  VkDescriptorSetLayoutCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO;
  info.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_PUSH_DESCRIPTOR_BIT_KHR;
  info.bindingCount = static_cast<std::uint32_t>(bindings.size());
  info.pBindings = bindings.data();
  return core.answer(core.calls.CreateDescriptorSetLayout(core.device, &info, nullptr, out));
}

// Drivers trust the code that they are given: what is not SPIR-V at all is stopped here.
std::vector<std::uint32_t> words_of(std::span<const std::byte> code) {
  std::vector<std::uint32_t> words(code.size() / sizeof(std::uint32_t));
  if (code.size() % sizeof(std::uint32_t) != 0 || words.empty()) return {};
  std::memcpy(words.data(), code.data(), code.size());
  if (words.front() != kSpirvMagic) return {};
  return words;
}

}  // namespace

Result make_layout(std::shared_ptr<Core> core, std::unique_ptr<Layout>* out) {
  if (!core->loss().ok()) return core->loss();
  auto layout = std::make_unique<VulkanLayout>(core);
  const Result result = make_buffer_layout(*core, &layout->buffers);
  if (!result.ok()) return result;
  const VkPushConstantRange pushed{VK_SHADER_STAGE_COMPUTE_BIT, 0, kPushBytes};
  VkPipelineLayoutCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO;
  info.setLayoutCount = 1;
  info.pSetLayouts = &layout->buffers;
  info.pushConstantRangeCount = 1;
  info.pPushConstantRanges = &pushed;
  const Result whole =
      core->answer(core->calls.CreatePipelineLayout(core->device, &info, nullptr, &layout->whole));
  if (whole.ok()) *out = std::move(layout);
  return whole;
}

Result make_pipeline(std::shared_ptr<Core> core, Layout& layout, std::span<const std::byte> code,
                     std::unique_ptr<Pipeline>* out) {
  if (!core->loss().ok()) return core->loss();
  const std::vector<std::uint32_t> words = words_of(code);
  if (words.empty()) return kFailed;
  VkShaderModuleCreateInfo shader{};
  shader.sType = VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO;
  shader.codeSize = code.size();
  shader.pCode = words.data();
  VkShaderModule module = VK_NULL_HANDLE;
  const Result compiled =
      core->answer(core->calls.CreateShaderModule(core->device, &shader, nullptr, &module));
  if (!compiled.ok()) return compiled;
  VkComputePipelineCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO;
  info.stage.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
  info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
  info.stage.module = module;
  info.stage.pName = "main";
  info.layout = layout_handle(layout);
  VkPipeline pipeline = VK_NULL_HANDLE;
  const Result result = core->answer(core->calls.CreateComputePipelines(
      core->device, VK_NULL_HANDLE, 1, &info, nullptr, &pipeline));
  core->calls.DestroyShaderModule(core->device, module, nullptr);
  if (result.ok()) *out = std::make_unique<VulkanPipeline>(std::move(core), pipeline);
  return result;
}

VkPipelineLayout layout_handle(Layout& layout) {
  return static_cast<VulkanLayout&>(layout).whole;
}

VkPipeline pipeline_handle(Pipeline& pipeline) {
  return static_cast<VulkanPipeline&>(pipeline).handle;
}

}  // namespace morva::gpu::platform::vulkan
