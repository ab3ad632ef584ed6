#include "gpu/platform/vulkan_instance.h"

#include <algorithm>
#include <cstring>

namespace morva::gpu::platform::vulkan {

namespace {

constexpr const char* kDebugLayer = "VK_LAYER_KHRONOS_validation";

// Inside kernels older layers take a pushed buffer for one that was never set, and skip the access.
constexpr std::uint32_t kSeesPushedBuffers = VK_MAKE_API_VERSION(0, 1, 3, 275);

bool has_extension(const LoaderCalls& loader, const char* layer, const char* name) {
  std::uint32_t count = 0;
  if (loader.EnumerateInstanceExtensionProperties(layer, &count, nullptr) != VK_SUCCESS) {
    return false;
  }
  std::vector<VkExtensionProperties> all(count);
  if (loader.EnumerateInstanceExtensionProperties(layer, &count, all.data()) < 0) return false;
  all.resize(count);
  return std::any_of(all.begin(), all.end(), [&](const VkExtensionProperties& extension) {
    return std::strcmp(extension.extensionName, name) == 0;
  });
}

// What the layer is asked to look for besides the use of the interface itself: missing barriers,
// and inside kernels reads and writes past the end.
struct LayerChecks {
  std::vector<VkValidationFeatureEnableEXT> wanted;
  VkValidationFeaturesEXT info{};

  explicit LayerChecks(bool inside_kernels) {
    wanted.push_back(VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT);
    if (inside_kernels) {
      wanted.push_back(VK_VALIDATION_FEATURE_ENABLE_GPU_ASSISTED_EXT);
      wanted.push_back(VK_VALIDATION_FEATURE_ENABLE_GPU_ASSISTED_RESERVE_BINDING_SLOT_EXT);
    }
    info.sType = VK_STRUCTURE_TYPE_VALIDATION_FEATURES_EXT;
    info.enabledValidationFeatureCount = static_cast<std::uint32_t>(wanted.size());
    info.pEnabledValidationFeatures = wanted.data();
  }
};

int speed_rank(VkPhysicalDeviceType type) {
  switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU:
      return 0;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU:
      return 1;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU:
      return 2;
    case VK_PHYSICAL_DEVICE_TYPE_CPU:
      return 4;
    default:
      return 3;
  }
}

}  // namespace

Instance::~Instance() {
  if (messenger != VK_NULL_HANDLE) {
    calls.DestroyDebugUtilsMessengerEXT(handle, messenger, nullptr);
  }
  if (handle != VK_NULL_HANDLE && calls.DestroyInstance != nullptr) {
    calls.DestroyInstance(handle, nullptr);
  }
}

std::optional<DebugLayer> find_debug_layer(const LoaderCalls& loader) {
  std::uint32_t count = 0;
  if (loader.EnumerateInstanceLayerProperties(&count, nullptr) != VK_SUCCESS) return std::nullopt;
  std::vector<VkLayerProperties> all(count);
  if (loader.EnumerateInstanceLayerProperties(&count, all.data()) < 0) return std::nullopt;
  all.resize(count);
  for (const VkLayerProperties& layer : all) {
    if (std::strcmp(layer.layerName, kDebugLayer) != 0) continue;
    return DebugLayer{layer.specVersion >= kSeesPushedBuffers};
  }
  return std::nullopt;
}

Result open_instance(const LoaderCalls& loader, const InstanceWishes& wishes,
                     std::shared_ptr<Instance>* out) {
  VkApplicationInfo application{};
  application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
  application.pApplicationName = "morva";
  application.pEngineName = "morva";
  application.apiVersion = VK_API_VERSION_1_2;

  std::vector<const char*> extensions;
  const char* layer = wishes.debug_layer ? kDebugLayer : nullptr;
  if (has_extension(loader, nullptr, VK_EXT_DEBUG_UTILS_EXTENSION_NAME) ||
      (layer != nullptr && has_extension(loader, layer, VK_EXT_DEBUG_UTILS_EXTENSION_NAME))) {
    extensions.push_back(VK_EXT_DEBUG_UTILS_EXTENSION_NAME);
  }
  const LayerChecks checks(wishes.kernel_checks);
  VkInstanceCreateInfo info{};
  info.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
  info.pApplicationInfo = &application;
  if (layer != nullptr) {
    info.enabledLayerCount = 1;
    info.ppEnabledLayerNames = &layer;
    if (has_extension(loader, layer, VK_EXT_VALIDATION_FEATURES_EXTENSION_NAME)) {
      extensions.push_back(VK_EXT_VALIDATION_FEATURES_EXTENSION_NAME);
      info.pNext = &checks.info;
    }
  }
  info.enabledExtensionCount = static_cast<std::uint32_t>(extensions.size());
  info.ppEnabledExtensionNames = extensions.data();

  VkInstance handle = VK_NULL_HANDLE;
  const VkResult answer = loader.CreateInstance(&info, nullptr, &handle);
  if (answer == VK_ERROR_INCOMPATIBLE_DRIVER) return kOk;
  if (answer != VK_SUCCESS) return to_result(answer);
  auto instance = std::make_shared<Instance>();
  instance->handle = handle;
  if (!find_instance_calls(loader, instance->handle, &instance->calls)) return kFailed;
  if (layer != nullptr) {
    instance->messenger = make_messenger(instance->calls, instance->handle, instance->messages);
  }
  *out = std::move(instance);
  return kOk;
}

Result list_devices(const Instance& instance, std::vector<VkPhysicalDevice>* out) {
  std::uint32_t count = 0;
  VkResult answer = instance.calls.EnumeratePhysicalDevices(instance.handle, &count, nullptr);
  if (answer == VK_ERROR_INITIALIZATION_FAILED) return kOk;  // drivers without a device
  if (answer < 0) return to_result(answer);
  std::vector<VkPhysicalDevice> all(count);
  answer = instance.calls.EnumeratePhysicalDevices(instance.handle, &count, all.data());
  if (answer < 0) return to_result(answer);
  all.resize(count);
  const auto rank = [&](VkPhysicalDevice device) {
    VkPhysicalDeviceProperties properties{};
    instance.calls.GetPhysicalDeviceProperties(device, &properties);
    return speed_rank(properties.deviceType);
  };
  std::stable_sort(all.begin(), all.end(), [&](VkPhysicalDevice left, VkPhysicalDevice right) {
    return rank(left) < rank(right);
  });
  *out = std::move(all);
  return kOk;
}

}  // namespace morva::gpu::platform::vulkan
