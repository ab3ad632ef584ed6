#include "gpu/platform/vulkan_messages.h"

#include <cstring>
#include <iterator>
#include <utility>

namespace morva::gpu::platform::vulkan {

namespace {

// A CPU device names a range of 128 MiB for a storage buffer and handles any: larger ones are bound
// there knowingly.
constexpr const char* kKnownLimit = "VUID-VkWriteDescriptorSet-descriptorType-00333";

VKAPI_ATTR VkBool32 VKAPI_CALL keep_message(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                                            VkDebugUtilsMessageTypeFlagsEXT,
                                            const VkDebugUtilsMessengerCallbackDataEXT* data,
                                            void* store) {
  const char* id = data->pMessageIdName != nullptr ? data->pMessageIdName : "";
  if (std::strcmp(id, kKnownLimit) == 0) return VK_FALSE;
  const bool error = (severity & VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT) != 0;
  const char* text = data->pMessage != nullptr ? data->pMessage : id;
  static_cast<MessageStore*>(store)->add({error ? Severity::error : Severity::warning, text});
  return VK_FALSE;
}

}  // namespace

void MessageStore::keep(std::uint32_t limit) {
  const std::lock_guard guard(mutex_);
  limit_ = limit;
  while (kept_.size() > limit_) kept_.pop_front();
}

void MessageStore::add(DebugMessage message) {
  const std::lock_guard guard(mutex_);
  if (limit_ == 0) return;
  if (kept_.size() == limit_) kept_.pop_front();
  kept_.push_back(std::move(message));
}

std::vector<DebugMessage> MessageStore::take() {
  const std::lock_guard guard(mutex_);
  std::vector<DebugMessage> all(std::make_move_iterator(kept_.begin()),
                                std::make_move_iterator(kept_.end()));
  kept_.clear();
  return all;
}

VkDebugUtilsMessengerEXT make_messenger(const InstanceCalls& calls, VkInstance instance,
                                        MessageStore& store) {
  if (calls.CreateDebugUtilsMessengerEXT == nullptr) return VK_NULL_HANDLE;
  VkDebugUtilsMessengerCreateInfoEXT info{};
  info.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT;
  info.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT |
                         VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
  info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT |
                     VK_DEBUG_UTILS_MESSAGE_TYPE_PERFORMANCE_BIT_EXT;
  info.pfnUserCallback = keep_message;
  info.pUserData = &store;
  VkDebugUtilsMessengerEXT messenger = VK_NULL_HANDLE;
  if (calls.CreateDebugUtilsMessengerEXT(instance, &info, nullptr, &messenger) != VK_SUCCESS) {
    return VK_NULL_HANDLE;
  }
  return messenger;
}

void name_object(const InstanceCalls& calls, VkDevice device, VkObjectType type,
                 std::uint64_t handle, const std::string& name) {
  if (calls.SetDebugUtilsObjectNameEXT == nullptr) return;
  VkDebugUtilsObjectNameInfoEXT info{};
  info.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT;
  info.objectType = type;
  info.objectHandle = handle;
  info.pObjectName = name.c_str();
  static_cast<void>(calls.SetDebugUtilsObjectNameEXT(device, &info));
}

}  // namespace morva::gpu::platform::vulkan
