#include "gpu/device.h"

#include <cstdio>
#include <stdexcept>

#include "gpu/device_state.h"
#include "gpu/gpu_error.h"

namespace morva::gpu {

Device::Device(bool software, platform::Platform& source)
    : state_(std::make_unique<DeviceState>()) {
  state_->source = &source;
  create_device(*state_, software);
}

Device::~Device() {
  try {
    submit();
  } catch (...) {  // a lost device has nothing left to run
  }
}

const DeviceInfo& Device::info() const {
  return state_->info;
}

void Device::warm_up() {
  for (std::size_t row = 0; row < kKernelCount; ++row) {
    const auto kernel = static_cast<Kernel>(row);
    if (kernel == Kernel::rowsum && !state_->info.doubles) continue;
    const platform::Result result = build_pipeline(*state_, kernel);
    if (result.ok()) continue;
    char code[32];
    std::snprintf(code, sizeof code, " (HRESULT 0x%08lX)", static_cast<unsigned long>(result.code));
    throw std::runtime_error(std::string("DX12: конвейер кернела ") + kernel_name(kernel) + code);
  }
}

SharedParts Device::share() {
  const std::lock_guard guard(state_->mutex);
  check(build_pipeline(*state_, Kernel::view_pack), "конвейер кернела показа");
  return {state_->device, state_->layout, state_->pipelines[row_of(Kernel::view_pack)]};
}

void Device::set_profiling(bool on) {
  state_->profiling = on;
}

bool Device::profiling() const {
  return state_->profiling;
}

const RenderStats& Device::stats() const {
  return state_->stats;
}

void Device::reset_stats() {
  state_->stats = RenderStats{};
}

std::uint32_t Device::removed_reason() const {
  const platform::Result result = state_->device->removed_reason();
  if (result.ok()) return kNoLoss;
  const LossReason reason = loss_reason(result);
  return reason == kNoLoss ? kRemoved : reason;
}

std::string Device::loss_report() const {
  const platform::Result why = state_->device->removed_reason();
  char line[96];
  std::snprintf(line, sizeof line, "причина: %s (HRESULT 0x%08lX)\n", loss_name(removed_reason()),
                static_cast<unsigned long>(why.code));
  std::string fault;
  if (!state_->device->fault_report(&fault).ok()) fault = "DRED: недоступен\n";
  return line + fault;
}

std::vector<std::string> Device::debug_messages() {
  std::vector<std::string> texts;
  if (!state_->info.debug_layer) return texts;
  for (platform::DebugMessage& message : state_->device->take_messages()) {
    const bool kept = message.severity == platform::Severity::corruption ||
                      message.severity == platform::Severity::error ||
                      message.severity == platform::Severity::warning;
    if (kept) texts.push_back(std::move(message.text));
  }
  return texts;
}

}  // namespace morva::gpu
