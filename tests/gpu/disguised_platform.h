// The software GPU passed off as hardware, on a clock that a test turns: so the engine's way back
// from a loss, which always asks for hardware, can be walked on any machine.
#pragma once

#include <memory>

#include "gpu/platform/platform.h"
#include "gpu/platform/vulkan_platform.h"

namespace morva::gpu {

class DisguisedAdapter : public platform::Adapter {
 public:
  explicit DisguisedAdapter(std::unique_ptr<platform::Adapter> real) : real_(std::move(real)) {}
  platform::AdapterDescription description() const override {
    platform::AdapterDescription description = real_->description();
    description.software = false;
    return description;
  }
  platform::Result try_device() override { return real_->try_device(); }
  platform::Result create_device(std::unique_ptr<platform::Device>* out) override {
    return real_->create_device(out);
  }
  platform::Result memory(platform::Segment segment, platform::MemoryInfo* out) override {
    return real_->memory(segment, out);
  }

 private:
  std::unique_ptr<platform::Adapter> real_;
};

class DisguisedFactory : public platform::Factory {
 public:
  explicit DisguisedFactory(std::unique_ptr<platform::Factory> real) : real_(std::move(real)) {}
  platform::Result adapter(std::uint32_t index, std::unique_ptr<platform::Adapter>* out) override {
    if (index > 0) return platform::kNotFound;
    std::unique_ptr<platform::Adapter> real;
    const platform::Result result = real_->software_adapter(&real);
    if (result.ok()) *out = std::make_unique<DisguisedAdapter>(std::move(real));
    return result;
  }
  platform::Result software_adapter(std::unique_ptr<platform::Adapter>* out) override {
    return real_->software_adapter(out);
  }

 private:
  std::unique_ptr<platform::Factory> real_;
};

class DisguisedPlatform : public platform::Platform {
 public:
  std::int64_t ahead_ns = 0;  // of the real clock

  platform::Result enable_debug_layer() override { return real_.enable_debug_layer(); }
  void enable_kernel_checks() override { real_.enable_kernel_checks(); }
  platform::Result enable_loss_records() override { return real_.enable_loss_records(); }
  platform::Result create_factory(std::unique_ptr<platform::Factory>* out) override {
    std::unique_ptr<platform::Factory> real;
    const platform::Result result = real_.create_factory(&real);
    if (result.ok()) *out = std::make_unique<DisguisedFactory>(std::move(real));
    return result;
  }
  std::int64_t now_ns() override { return real_.now_ns() + ahead_ns; }

 private:
  platform::Platform& real_ = platform::vulkan_platform();
};

}  // namespace morva::gpu
