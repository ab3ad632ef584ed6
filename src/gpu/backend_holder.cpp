#include "gpu/backend_holder.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

#include "gpu/gpu_budget.h"
#include "gpu/gpu_error.h"
#include "gpu/platform/vulkan_platform.h"

namespace morva::gpu {

namespace {

constexpr std::int64_t kLossWindowNs = 120'000'000'000;
constexpr double kMostScale = 16.0;

std::unique_ptr<Tract> make_backend(const BackendHolder& holder, bool software) {
  return std::make_unique<Tract>(software, source_of(holder));
}

// A ramp of both signs and with fractions there and back: a transfer that loses bytes or converts
// formats shows.
void check_round_trip(Device& device) {
  constexpr std::uint32_t count = 4096;
  std::vector<float> ramp(count);
  for (std::uint32_t i = 0; i < count; ++i) ramp[i] = static_cast<float>(i) * 0.25f - 7.0f;
  const auto source = device.upload(ramp.data(), count);
  // Zeros first: a buffer out of the pool may hold the ramp of the last probe.
  const auto copy = device.upload(std::vector<float>(count).data(), count);
  const LaunchGrid launch = grid(count);
  device.dispatch(Kernel::copy_main, launch.groups_x, launch.groups_y, {count}, {},
                  {source.get(), nullptr, copy.get()});
  const std::vector<float> back = device.download(*copy, count);
  if (std::memcmp(back.data(), ramp.data(), count * sizeof(float)) != 0)
    throw std::runtime_error("DX12: пересылка туда-обратно вернула не те числа");
}

void note_failed_rebuild(BackendHolder& holder, const std::exception& failure) noexcept {
  try {
    holder.last_loss.report +=
        std::string("новое устройство не создалось: ") + failure.what() + "\n";
  } catch (...) {  // no memory: the report is a courtesy
  }
}

void note_loss(BackendHolder& holder, const GpuLost& lost) noexcept {
  const Device* device = holder.backend != nullptr ? &holder.backend->device() : nullptr;
  LossRecord& record = holder.last_loss;
  record.reason = lost.reason;
  record.hresult = lost.hresult;
  record.requested_bytes = lost.requested_bytes;
  record.available_bytes = lost.available_bytes;
  record.report.clear();
  try {
    const std::uint32_t why = device != nullptr ? device->removed_reason() : std::uint32_t{kNoLoss};
    if (why != kNoLoss) record.reason = why;
    record.report = std::string("ошибка: ") + lost.what() + "\n";
    if (device != nullptr && record.reason != kNoMemory) record.report += device->loss_report();
  } catch (...) {  // no memory: what has been told so far
  }
}

// Whether the loss stands alone in its two minutes.
bool note_loss_time(BackendHolder& holder) {
  const std::int64_t now_ns = source_of(holder).now_ns();
  const std::optional<std::int64_t> before_ns = std::exchange(holder.last_loss_ns, now_ns);
  return !before_ns || now_ns - *before_ns > kLossWindowNs;
}

bool rebuild(BackendHolder& holder) noexcept {
  try {
    holder.backend = make_backend(holder, false);
  } catch (const std::exception& failure) {
    note_failed_rebuild(holder, failure);
    return false;
  } catch (...) {
    return false;
  }
  ++holder.generation;
  ++holder.recoveries;
  return true;
}

}  // namespace

platform::Platform& source_of(const BackendHolder& holder) {
  return holder.source != nullptr ? *holder.source : platform::vulkan_platform();
}

bool is_lost(const BackendHolder& holder) {
  return holder.selected && (holder.backend == nullptr || holder.lost);
}

Tract* active_backend(const BackendHolder& holder) {
  return holder.selected ? holder.backend.get() : nullptr;
}

void select_cpu(BackendHolder& holder) {
  holder.selected = false;
}

void select_gpu(BackendHolder& holder, bool software) {
  holder.selected = false;
  if (holder.backend == nullptr || holder.backend->device().info().software != software)
    holder.backend = make_backend(holder, software);
  holder.selected = true;
}

void release_backend(BackendHolder& holder) {
  holder.selected = false;
  holder.backend.reset();
}

std::string describe_backend(const BackendHolder& holder) {
  return holder.selected && holder.backend != nullptr ? holder.backend->description() : "CPU";
}

AdapterList list_adapters(platform::Platform& source) {
  AdapterList list;
  std::unique_ptr<platform::Factory> factory;
  if (!source.create_factory(&factory).ok()) return list;
  std::unique_ptr<platform::Adapter> adapter;
  for (std::uint32_t i = 0; factory->adapter(i, &adapter).ok(); ++i) {
    const platform::AdapterDescription description = adapter->description();
    if (description.software) continue;
    list.hardware.push_back(description.name);
    if (adapter->try_device().ok()) ++list.usable;
  }
  return list;
}

std::string probe_backend(BackendHolder& holder) {
  try {
    if (holder.backend == nullptr || holder.backend->device().info().software)
      holder.backend = make_backend(holder, false);
    Device& device = holder.backend->device();
    device.warm_up();
    check_round_trip(device);
    holder.selected = true;
    return device.info().adapter_name;
  } catch (...) {
    release_backend(holder);
    throw;
  }
}

bool recover(BackendHolder& holder, const GpuLost& lost, bool may_retry) noexcept {
  note_loss(holder, lost);
  if (holder.last_loss.reason == kNoMemory) return may_retry;
  const bool alone = note_loss_time(holder);
  gpu_budget().scale = std::min(kMostScale, gpu_budget().scale * 2.0);
  holder.backend.reset();
  if (may_retry && alone && rebuild(holder)) return true;
  holder.lost = true;
  return false;
}

void retry_backend(BackendHolder& holder) {
  if (!holder.selected) return;
  holder.backend.reset();
  try {
    holder.backend = make_backend(holder, false);
  } catch (const std::exception& failure) {
    holder.lost = true;
    note_failed_rebuild(holder, failure);
    throw;
  }
  holder.lost = false;
  ++holder.generation;
}

void forget_losses(BackendHolder& holder) {
  holder.last_loss_ns.reset();
  holder.recoveries = 0;
  holder.last_loss.reason = 0;
  holder.last_loss.hresult = 0;
  holder.last_loss.report.clear();
  gpu_budget().scale = 1.0;
}

}  // namespace morva::gpu
