#include "gpu/backend_holder.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <vector>

#include "gpu/gpu_budget.h"
#include "gpu/gpu_error.h"
#include "gpu/platform/vulkan_platform.h"

namespace morva::gpu {

namespace {

constexpr std::int64_t kLossWindowNs = 120'000'000'000;
constexpr double kMostScale = 16.0;

std::unique_ptr<Tract> make_backend(BackendHolder& holder, bool software) {
  return std::make_unique<Tract>(software, source_of(holder));
}

// A ramp of both signs and with fractions there and back: a transfer that loses bytes or converts
// formats shows.
void check_round_trip(Device& device) {
  constexpr std::uint32_t count = 4096;
  std::vector<float> ramp(count);
  for (std::uint32_t i = 0; i < count; ++i) ramp[i] = static_cast<float>(i) * 0.25f - 7.0f;
  const auto source = device.upload(ramp.data(), count);
  const auto copy = device.alloc(count);
  const LaunchGrid launch = grid(count);
  device.dispatch(Kernel::copy_main, launch.groups_x, launch.groups_y, {count}, {},
                  {source.get(), nullptr, copy.get()});
  const std::vector<float> back = device.download(*copy, count);
  if (std::memcmp(back.data(), ramp.data(), count * sizeof(float)) != 0)
    throw std::runtime_error("DX12: пересылка туда-обратно вернула не те числа");
}

void note_failed_rebuild(BackendHolder& holder, const std::exception& failure) {
  holder.lost = true;
  holder.last_loss.report += std::string("новое устройство не создалось: ") + failure.what() + "\n";
}

LossRecord record_of(const GpuLost& lost, const Tract* backend) {
  LossRecord record = {lost.reason, lost.hresult, lost.requested_bytes, lost.available_bytes, ""};
  std::string report;
  if (backend != nullptr) {
    try {
      if (const std::uint32_t why = backend->device().removed_reason(); why != kNoLoss)
        record.reason = why;
      if (record.reason != kNoMemory) report = backend->device().loss_report();
    } catch (const std::exception&) {  // the report is a courtesy
    }
  }
  record.report = std::string("ошибка: ") + lost.what() + "\n" + report;
  return record;
}

// Whether the loss stands alone in its two minutes.
bool note_loss_time(BackendHolder& holder) {
  const std::int64_t now_ns = source_of(holder).now_ns();
  holder.loss_times.push_back(now_ns);
  while (now_ns - holder.loss_times.front() > kLossWindowNs) holder.loss_times.pop_front();
  return holder.loss_times.size() < 2;
}

bool rebuild(BackendHolder& holder) {
  try {
    holder.backend = make_backend(holder, false);
  } catch (const std::exception& failure) {
    note_failed_rebuild(holder, failure);
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
  try {
    holder.last_loss = record_of(lost, holder.backend.get());
    if (holder.last_loss.reason == kNoMemory) return may_retry;
    const bool alone = note_loss_time(holder);
    gpu_budget().scale = std::min(kMostScale, gpu_budget().scale * 2.0);
    holder.backend.reset();
    if (may_retry && alone) return rebuild(holder);
  } catch (const std::exception&) {  // no memory left for the record
  }
  holder.lost = true;
  return false;
}

void retry_backend(BackendHolder& holder) {
  if (!holder.selected) return;
  holder.backend.reset();
  try {
    holder.backend = make_backend(holder, false);
  } catch (const std::exception& failure) {
    note_failed_rebuild(holder, failure);
    throw;
  }
  holder.lost = false;
  ++holder.generation;
}

void forget_losses(BackendHolder& holder) {
  holder.loss_times.clear();
  holder.recoveries = 0;
  holder.last_loss.reason = 0;
  holder.last_loss.hresult = 0;
  holder.last_loss.report.clear();
  gpu_budget().scale = 1.0;
}

}  // namespace morva::gpu
