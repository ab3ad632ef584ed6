#include "gpu/platform/vulkan_platform.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "gpu/platform/vulkan_device.h"

namespace morva::gpu::platform {

namespace vulkan {
namespace {

#if defined(_WIN32)
constexpr const char* kLoaderFile = "vulkan-1.dll";
#elif defined(__APPLE__)
constexpr const char* kLoaderFile = "libvulkan.1.dylib";
#else
constexpr const char* kLoaderFile = "libvulkan.so.1";
#endif

class VulkanFactory : public Factory {
 public:
  VulkanFactory(std::shared_ptr<Instance> instance, std::vector<VkPhysicalDevice> devices,
                bool loss_records)
      : instance_(std::move(instance)), devices_(std::move(devices)), loss_records_(loss_records) {}

  Result adapter(std::uint32_t index, std::unique_ptr<Adapter>* out) override {
    if (index >= devices_.size()) return kNotFound;
    *out = make_adapter(instance_, devices_[index], loss_records_);
    return kOk;
  }
  Result software_adapter(std::unique_ptr<Adapter>* out) override {
    for (VkPhysicalDevice device : devices_) {
      auto adapter = make_adapter(instance_, device, loss_records_);
      if (!adapter->description().software) continue;
      *out = std::move(adapter);
      return kOk;
    }
    return kNotFound;
  }

 private:
  std::shared_ptr<Instance> instance_;
  std::vector<VkPhysicalDevice> devices_;
  bool loss_records_;
};

class VulkanPlatform : public Platform {
 public:
  explicit VulkanPlatform(const char* loader_file) : loader_file_(loader_file) {}

  Result enable_debug_layer() override {
    const LoaderCalls* calls = loader();
    const auto layer = calls != nullptr ? find_debug_layer(*calls) : std::nullopt;
    if (!layer) return kFailed;
    layer_checks_kernels_ = layer->checks_kernels;
    debug_layer_ = true;
    return kOk;
  }
  void enable_kernel_checks() override { kernel_checks_ = true; }
  Result enable_loss_records() override {
    loss_records_ = true;
    return kOk;
  }
  Result create_factory(std::unique_ptr<Factory>* out) override {
    std::shared_ptr<Instance> instance;
    std::vector<VkPhysicalDevice> devices;
    if (const LoaderCalls* calls = loader()) {
      const InstanceWishes wishes{debug_layer_, kernel_checks_ && layer_checks_kernels_};
      Result result = open_instance(*calls, wishes, &instance);
      if (result.ok() && instance) result = list_devices(*instance, &devices);
      if (!result.ok()) return result;
    }
    *out = std::make_unique<VulkanFactory>(std::move(instance), std::move(devices), loss_records_);
    return kOk;
  }
  std::int64_t now_ns() override {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  }

 private:
  // Null where there is none; a driver installed meanwhile is found by the next who asks.
  const LoaderCalls* loader() {
    const std::lock_guard guard(mutex_);
    if (!loader_) {
      LoaderCalls calls;
      if (!find_loader(loader_file_.c_str(), &calls)) return nullptr;
      loader_ = calls;
    }
    return &*loader_;
  }

  const std::string loader_file_;
  std::mutex mutex_;
  std::optional<LoaderCalls> loader_;
  std::atomic<bool> debug_layer_ = false;
  std::atomic<bool> layer_checks_kernels_ = false;
  std::atomic<bool> kernel_checks_ = false;
  std::atomic<bool> loss_records_ = false;
};

}  // namespace
}  // namespace vulkan

// Never destroyed: a host's thread may still be rendering while the process ends.
Platform& vulkan_platform() {
  static auto* const platform = new vulkan::VulkanPlatform(vulkan::kLoaderFile);
  return *platform;
}

std::unique_ptr<Platform> make_vulkan_platform(const char* loader_file) {
  return std::make_unique<vulkan::VulkanPlatform>(loader_file);
}

}  // namespace morva::gpu::platform
