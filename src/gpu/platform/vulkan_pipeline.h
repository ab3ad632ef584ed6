// How a dispatch is bound, and kernels made of SPIR-V.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

Result make_layout(std::shared_ptr<Core> core, std::unique_ptr<Layout>* out);
Result make_pipeline(std::shared_ptr<Core> core, Layout& layout, std::span<const std::byte> code,
                     std::unique_ptr<Pipeline>* out);

VkPipelineLayout layout_handle(Layout& layout);
VkPipeline pipeline_handle(Pipeline& pipeline);

}  // namespace morva::gpu::platform::vulkan
