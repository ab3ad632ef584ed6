#include "gpu/platform/vulkan_calls.h"

#include "profiles/opened_library.h"

namespace morva::gpu::platform::vulkan {

bool find_loader(const char* library_file, LoaderCalls* out) {
  const OpenedLibrary library = open_library(library_file);
  LoaderCalls calls;
  if (!library.find("vkGetInstanceProcAddr", calls.GetInstanceProcAddr)) return false;
  bool whole = true;
#define MORVA_VULKAN_FIND(name)                                                              \
  calls.name =                                                                               \
      reinterpret_cast<PFN_vk##name>(calls.GetInstanceProcAddr(VK_NULL_HANDLE, "vk" #name)); \
  whole = whole && calls.name != nullptr;
  MORVA_VULKAN_LOADER_CALLS(MORVA_VULKAN_FIND)
#undef MORVA_VULKAN_FIND
  if (whole) *out = calls;
  return whole;
}

bool find_instance_calls(const LoaderCalls& loader, VkInstance instance, InstanceCalls* out) {
  bool whole = true;
#define MORVA_VULKAN_FIND(name) \
  out->name = reinterpret_cast<PFN_vk##name>(loader.GetInstanceProcAddr(instance, "vk" #name));
#define MORVA_VULKAN_NEED(name) \
  MORVA_VULKAN_FIND(name)       \
  whole = whole && out->name != nullptr;
  MORVA_VULKAN_INSTANCE_CALLS(MORVA_VULKAN_NEED)
  MORVA_VULKAN_DEBUG_CALLS(MORVA_VULKAN_FIND)
#undef MORVA_VULKAN_NEED
#undef MORVA_VULKAN_FIND
  return whole;
}

bool find_device_calls(const InstanceCalls& calls, VkDevice device, DeviceCalls* out) {
  bool whole = true;
#define MORVA_VULKAN_NEED(name)                                                            \
  out->name = reinterpret_cast<PFN_vk##name>(calls.GetDeviceProcAddr(device, "vk" #name)); \
  whole = whole && out->name != nullptr;
  MORVA_VULKAN_DEVICE_CALLS(MORVA_VULKAN_NEED)
#undef MORVA_VULKAN_NEED
  out->GetDeviceFaultInfoEXT = reinterpret_cast<PFN_vkGetDeviceFaultInfoEXT>(
      calls.GetDeviceProcAddr(device, "vkGetDeviceFaultInfoEXT"));
  return whole;
}

Result to_result(VkResult answer) {
  switch (answer) {
    case VK_ERROR_DEVICE_LOST:
      return kDeviceRemoved;
    case VK_ERROR_OUT_OF_DEVICE_MEMORY:
    case VK_ERROR_OUT_OF_HOST_MEMORY:
    case VK_ERROR_TOO_MANY_OBJECTS:
      return kOutOfMemory;
    case VK_ERROR_INITIALIZATION_FAILED:
      return kDriverInternalError;
    default:
      return answer < 0 ? kFailed : kOk;
  }
}

}  // namespace morva::gpu::platform::vulkan
