// Lists of commands: how uses of a buffer are kept apart, how a kernel sees what is bound.
#pragma once

#include <cstdint>
#include <memory>

#include "gpu/platform/vulkan_core.h"

namespace morva::gpu::platform::vulkan {

Result make_allocator(std::shared_ptr<Core> core, std::unique_ptr<Allocator>* out);
Result make_list(std::shared_ptr<Core> core, Allocator& allocator, std::unique_ptr<List>* out);
Result make_query_heap(std::shared_ptr<Core> core, std::uint32_t count,
                       std::unique_ptr<QueryHeap>* out);

// Of a closed list.
VkCommandBuffer recorded_commands(List& list);

}  // namespace morva::gpu::platform::vulkan
