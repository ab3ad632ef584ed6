// Buffers come from the pool where they can: creating one takes the system longer than most kernels
// run, and a render asks for the same few sizes again and again.
//
// A buffer goes back without waiting for the GPU. Recording is in order on one queue, so whoever
// takes it next within the list uses it after its last user.

#include <algorithm>
#include <limits>

#include "gpu/device_state.h"
#include "gpu/gpu_error.h"
#include "gpu/test_hooks.h"

namespace morva::gpu {

namespace {

constexpr std::uint64_t kLeastBytes = 256;            // of one resource
constexpr std::uint64_t kMostKeptBytes = 0x40000000;  // by a pool that need not shrink
// Floats of one buffer: kernels count them in 32 bits.
constexpr std::uint64_t kMostCount = std::numeric_limits<std::uint32_t>::max();

// The smallest free buffer that holds `count` floats and is at most twice as large; null without
// one.
Buffer* take_from_pool(DeviceState& state, std::uint64_t count) {
  const std::lock_guard guard(state.mutex);
  const auto found = state.pool.lower_bound(count);
  if (found == state.pool.end() || found->first / 2 + found->first % 2 > count) return nullptr;
  Buffer* buffer = found->second;
  state.pool.erase(found);
  return buffer;
}

void give_back(DeviceState& state, Buffer* buffer, bool no_pool) {
  const std::lock_guard guard(state.mutex);
  if (no_pool) {
    state.dead_buffers.push_back(buffer);
  } else {
    state.pool.emplace(buffer->count, buffer);
  }
}

// With the mutex held.
void destroy(DeviceState& state, Buffer* buffer) {
  const auto own = std::find_if(state.all_buffers.begin(), state.all_buffers.end(),
                                [&](const auto& one) { return one.get() == buffer; });
  state.all_buffers.erase(own);
}

std::string pool_name(std::uint64_t count) {
  return "morva pool " + std::to_string((count * sizeof(float) + 1023) >> 10) + " KB";
}

Buffer* make_buffer(DeviceState& state, std::uint64_t count) {
  if (hook_fails_allocation()) {
    throw GpuLost("DX12: буфер — HRESULT 0x8007000E (тестовый крючок)", kNoMemory,
                  platform::kOutOfMemory.code);
  }
  if (count > kMostCount) check(platform::kOutOfMemory, "буфер");
  auto buffer = std::make_unique<Buffer>();
  buffer->resource = create_buffer(state, platform::Heap::device_local,
                                   std::max(count * sizeof(float), kLeastBytes), pool_name(count));
  buffer->count = count;
  const std::lock_guard guard(state.mutex);
  state.all_buffers.push_back(std::move(buffer));
  return state.all_buffers.back().get();
}

// How many free bytes may stay: a quarter of the budget while memory is not three quarters used.
std::uint64_t bytes_to_keep(const PoolStats& stats, bool aggressive) {
  const std::uint64_t quarter = stats.local_budget >> 2;
  if (aggressive || stats.local_budget == 0 || stats.local_usage >= quarter * 3) return 0;
  return std::min(quarter, kMostKeptBytes);
}

std::uint64_t free_bytes(const DeviceState& state) {
  std::uint64_t bytes = 0;
  for (const auto& [count, buffer] : state.pool) bytes += count * sizeof(float);
  return bytes;
}

platform::MemoryInfo memory_of(const DeviceState& state, platform::Segment segment) {
  platform::MemoryInfo memory;
  if (!state.adapter->memory(segment, &memory).ok()) return {};
  return memory;
}

}  // namespace

std::unique_ptr<platform::Resource> create_buffer(platform::Device& device, platform::Heap heap,
                                                  std::uint64_t bytes, const std::string& name,
                                                  const char* prefix) {
  platform::State initial = platform::State::common;
  if (heap == platform::Heap::upload) initial = platform::State::generic_read;
  if (heap == platform::Heap::readback) initial = platform::State::copy_dest;
  std::unique_ptr<platform::Resource> resource;
  check(device.create_buffer(heap, bytes, initial, &resource), "буфер", prefix);
  resource->set_name(name);
  return resource;
}

void destroy_dead_buffers(DeviceState& state) {
  const std::lock_guard guard(state.mutex);
  for (Buffer* buffer : state.dead_buffers) destroy(state, buffer);
  state.dead_buffers.clear();
}

std::shared_ptr<Buffer> Device::alloc(std::uint64_t count) {
  DeviceState& state = *state_;
  count = std::max(count, std::uint64_t{1});
  const bool no_pool = test_hooks().no_pool;
  Buffer* buffer = no_pool ? nullptr : take_from_pool(state, count);
  if (buffer == nullptr) {
    try {
      buffer = make_buffer(state, count);
    } catch (const GpuLost& lost) {
      if (lost.reason != kNoMemory) throw;
      buffer = make_after_trim(count);
    }
  }
  return {buffer, [&state, no_pool](Buffer* freed) { give_back(state, freed, no_pool); }};
}

Buffer* Device::make_after_trim(std::uint64_t count) {
  trim(true);
  try {
    return make_buffer(*state_, count);
  } catch (GpuLost& lost) {
    if (lost.reason != kNoMemory) throw;
    const platform::MemoryInfo local = memory_of(*state_, platform::Segment::local);
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    lost.requested_bytes = count > most / sizeof(float) ? most : count * sizeof(float);
    lost.available_bytes = local.usage < local.budget ? local.budget - local.usage : 0;
    throw;
  }
}

GImage Device::image(std::int32_t height, std::int32_t width, std::int32_t channels) {
  return {alloc(sample_count(height, width, channels)), height, width, channels};
}

void Device::trim(bool aggressive) {
  submit();
  const std::uint64_t keep = bytes_to_keep(pool_stats(), aggressive);
  const std::lock_guard guard(state_->mutex);
  std::uint64_t bytes = free_bytes(*state_);
  while (bytes > keep && !state_->pool.empty()) {
    const auto largest = std::prev(state_->pool.end());
    bytes -= largest->first * sizeof(float);
    Buffer* buffer = largest->second;
    state_->pool.erase(largest);
    destroy(*state_, buffer);
  }
}

PoolStats Device::pool_stats() const {
  const platform::MemoryInfo local = memory_of(*state_, platform::Segment::local);
  const platform::MemoryInfo shared = memory_of(*state_, platform::Segment::non_local);
  PoolStats stats{local.budget, local.usage, shared.budget, shared.usage};
  stats.pending_dispatches = state_->pending_dispatches;
  const std::lock_guard guard(state_->mutex);
  stats.pool_free_bytes = free_bytes(*state_);
  for (const auto& buffer : state_->all_buffers) {
    stats.pool_total_bytes += buffer->count * sizeof(float);
  }
  return stats;
}

}  // namespace morva::gpu
