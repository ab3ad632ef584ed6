// The functions of Vulkan that the platform calls, found while the program runs: the library that
// holds them comes with the graphics driver, and a machine without one must still load this one.
#pragma once

#include <vulkan/vulkan_core.h>

#include "gpu/platform/result.h"

namespace morva::gpu::platform::vulkan {

#define MORVA_VULKAN_LOADER_CALLS(CALL)  \
  CALL(CreateInstance)                   \
  CALL(EnumerateInstanceVersion)         \
  CALL(EnumerateInstanceLayerProperties) \
  CALL(EnumerateInstanceExtensionProperties)

#define MORVA_VULKAN_INSTANCE_CALLS(CALL)      \
  CALL(DestroyInstance)                        \
  CALL(EnumeratePhysicalDevices)               \
  CALL(EnumerateDeviceExtensionProperties)     \
  CALL(GetPhysicalDeviceProperties)            \
  CALL(GetPhysicalDeviceProperties2)           \
  CALL(GetPhysicalDeviceFeatures2)             \
  CALL(GetPhysicalDeviceQueueFamilyProperties) \
  CALL(GetPhysicalDeviceMemoryProperties2)     \
  CALL(CreateDevice)                           \
  CALL(GetDeviceProcAddr)

// Of an extension that may be missing.
#define MORVA_VULKAN_DEBUG_CALLS(CALL) \
  CALL(CreateDebugUtilsMessengerEXT)   \
  CALL(DestroyDebugUtilsMessengerEXT)  \
  CALL(SetDebugUtilsObjectNameEXT)     \
  CALL(CmdInsertDebugUtilsLabelEXT)

#define MORVA_VULKAN_DEVICE_CALLS(CALL) \
  CALL(DestroyDevice)                   \
  CALL(DeviceWaitIdle)                  \
  CALL(GetDeviceQueue)                  \
  CALL(QueueSubmit)                     \
  CALL(CreateSemaphore)                 \
  CALL(DestroySemaphore)                \
  CALL(GetSemaphoreCounterValue)        \
  CALL(WaitSemaphores)                  \
  CALL(CreateBuffer)                    \
  CALL(DestroyBuffer)                   \
  CALL(GetBufferMemoryRequirements)     \
  CALL(BindBufferMemory)                \
  CALL(AllocateMemory)                  \
  CALL(FreeMemory)                      \
  CALL(MapMemory)                       \
  CALL(UnmapMemory)                     \
  CALL(CreateCommandPool)               \
  CALL(DestroyCommandPool)              \
  CALL(ResetCommandPool)                \
  CALL(AllocateCommandBuffers)          \
  CALL(FreeCommandBuffers)              \
  CALL(BeginCommandBuffer)              \
  CALL(EndCommandBuffer)                \
  CALL(CreateQueryPool)                 \
  CALL(DestroyQueryPool)                \
  CALL(CreateDescriptorSetLayout)       \
  CALL(DestroyDescriptorSetLayout)      \
  CALL(CreatePipelineLayout)            \
  CALL(DestroyPipelineLayout)           \
  CALL(CreateShaderModule)              \
  CALL(DestroyShaderModule)             \
  CALL(CreateComputePipelines)          \
  CALL(DestroyPipeline)                 \
  CALL(CmdBindPipeline)                 \
  CALL(CmdPushConstants)                \
  CALL(CmdPushDescriptorSetKHR)         \
  CALL(CmdDispatch)                     \
  CALL(CmdPipelineBarrier)              \
  CALL(CmdCopyBuffer)                   \
  CALL(ResetQueryPool)                  \
  CALL(CmdWriteTimestamp)               \
  CALL(CmdCopyQueryPoolResults)

#define MORVA_VULKAN_POINTER(name) PFN_vk##name name = nullptr;

struct LoaderCalls {
  PFN_vkGetInstanceProcAddr GetInstanceProcAddr = nullptr;
  MORVA_VULKAN_LOADER_CALLS(MORVA_VULKAN_POINTER)
};

struct InstanceCalls {
  MORVA_VULKAN_INSTANCE_CALLS(MORVA_VULKAN_POINTER)
  MORVA_VULKAN_DEBUG_CALLS(MORVA_VULKAN_POINTER)  // null without the extension
};

struct DeviceCalls {
  MORVA_VULKAN_DEVICE_CALLS(MORVA_VULKAN_POINTER)
  PFN_vkGetDeviceFaultInfoEXT GetDeviceFaultInfoEXT = nullptr;  // null without the extension
};

#undef MORVA_VULKAN_POINTER

// False where the library cannot be opened, lacks a function or is of the first Vulkan, 1.0. Once
// opened it stays so for the life of the process: drivers start threads and do not stop them.
bool find_loader(const char* library_file, LoaderCalls* out);
bool find_instance_calls(const LoaderCalls& loader, VkInstance instance, InstanceCalls* out);
bool find_device_calls(const InstanceCalls& calls, VkDevice device, DeviceCalls* out);

// The HRESULT that stands for Vulkan's answer.
Result to_result(VkResult answer);

}  // namespace morva::gpu::platform::vulkan
