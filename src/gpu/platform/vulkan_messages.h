// What the validation layer has to say, kept until somebody reads it, and names for what it speaks
// of.
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "gpu/platform/platform.h"
#include "gpu/platform/vulkan_calls.h"

namespace morva::gpu::platform::vulkan {

// The newest messages of the debug layer, up to a limit that starts at none. Any thread.
class MessageStore {
 public:
  void keep(std::uint32_t limit);
  void add(DebugMessage message);
  std::vector<DebugMessage> take();

 private:
  std::mutex mutex_;
  std::uint32_t limit_ = 0;
  std::deque<DebugMessage> kept_;
};

// A messenger that adds the layer's warnings and errors to `store`; null where it cannot be made.
VkDebugUtilsMessengerEXT make_messenger(const InstanceCalls& calls, VkInstance instance,
                                        MessageStore& store);

// A Vulkan handle as a plain number, whether it is a pointer or one already.
template <class Handle>
std::uint64_t handle_number(Handle handle) {
  return (std::uint64_t)handle;  // the only cast that takes both
}

// Nothing without the extension.
void name_object(const InstanceCalls& calls, VkDevice device, VkObjectType type,
                 std::uint64_t handle, const std::string& name);

}  // namespace morva::gpu::platform::vulkan
