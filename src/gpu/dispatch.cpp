// Running a kernel: what it will cost, whether it is cut, and how it stands in the list.

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "gpu/cost_model.h"
#include "gpu/device_state.h"
#include "gpu/gpu_budget.h"
#include "gpu/gpu_error.h"
#include "gpu/test_hooks.h"

namespace morva::gpu {

// A kernel call as the user gave it, with what it is known to cost.
struct KernelCall {
  Kernel kernel;
  const std::vector<std::uint32_t>& constants;
  const std::vector<float>& table;
  const std::vector<Buffer*>& buffers;
  double taps = 1.0;
  std::uint64_t key = 0;
};

// One launch of it, recorded in one piece.
struct Launch {
  std::uint32_t groups_x = 0;
  std::uint32_t groups_y = 0;
  std::uint32_t band_row = 0;
  double estimate_ms = 0.0;
};

namespace {

// The first dispatch after a pause meets a GPU with lowered clocks.
constexpr double kIdleFactor = 4.0;

double work_units(const KernelCall& call, std::uint32_t groups_x, std::uint32_t groups_y) {
  return call.taps * (static_cast<double>(groups_x) * groups_y * kGroupThreads);
}

double estimate_ms(const DeviceState& state, const KernelCall& call, std::uint32_t groups_x,
                   std::uint32_t groups_y) {
  const bool idle = state.open ? state.after_idle : idle_since_last_submit(state);
  const double cost = cost_ns(cost_model(), call.kernel, call.key);
  return work_units(call, groups_x, groups_y) * cost * 1e-6 * gpu_budget().scale *
         (idle ? kIdleFactor : 1.0);
}

bool over_list_budget(const DeviceState& state, double launch_ms) {
  const double limit_ms = gpu_budget().submit_ms;
  return state.open && state.estimate_ms > 0.0 && limit_ms > 0.0 &&
         launch_ms + state.estimate_ms > limit_ms;
}

void set_kernel(DeviceState& state, Kernel kernel) {
  const char* name = kernel_name(kernel);
  const platform::Result built = build_pipeline(state, kernel);
  if (!built.ok()) check(built, std::string("конвейер кернела ") + name);
  state.list->set_pipeline(*state.pipelines[row_of(kernel)]);
  // One for each dispatch, as the timestamps are.
  state.list->marker(name);
  state.open_labels.push_back(name);
  ++state.pending_dispatches;
}

bool open_dispatch_mark(DeviceState& state, const KernelCall& call, const Launch& launch) {
  if (!has_query_room(state, 2)) {
    if (state.ticks_per_s != 0) ++state.stats.unmarked;
    return false;
  }
  Mark mark;
  mark.kernel = call.kernel;
  mark.work = work_units(call, launch.groups_x, launch.groups_y);
  mark.key = call.key;
  mark.estimate_ms = launch.estimate_ms;
  mark.begin_query = write_timestamp(state);
  state.open_marks.push_back(std::move(mark));
  return true;
}

void close_dispatch_mark(DeviceState& state) {
  state.open_marks.back().end_query = write_timestamp(state);
  state.closed_marks.push_back(std::move(state.open_marks.back()));
  state.open_marks.pop_back();
}

void set_constants(DeviceState& state, const KernelCall& call, const Launch& launch) {
  std::array<std::uint32_t, platform::kConstantWords> words{};
  std::copy(call.constants.begin(), call.constants.end(), words.begin());
  if (call.constants.size() < words.size()) words.back() = launch.groups_x * kGroupThreads;
  state.list->set_constants(words);
  state.list->set_band_row(launch.band_row);
}

// An empty table is still one float of room, so that something is bound.
std::uint64_t table_floats(const KernelCall& call) {
  return std::max<std::uint64_t>(1, call.table.size());
}

void bind_table(DeviceState& state, const KernelCall& call, std::shared_ptr<Buffer> table,
                const UploadSlice& slice) {
  const std::uint64_t bytes = table_floats(call) * sizeof(float);
  if (!call.table.empty()) std::memcpy(slice.cpu, call.table.data(), bytes);
  transition(state, *table, platform::State::copy_dest);
  state.list->copy(*table->resource, 0, *slice.resource, slice.offset, bytes);
  transition(state, *table, platform::State::shader_resource);
  state.list->bind_table(*table->resource);
  state.kept_buffers.push_back(std::move(table));
}

void bind_buffers(DeviceState& state, const std::vector<Buffer*>& buffers) {
  for (std::uint32_t slot = 0; slot < platform::kBufferSlots; ++slot) {
    Buffer* given = slot < buffers.size() ? buffers[slot] : nullptr;
    Buffer& buffer = given != nullptr ? *given : state.dummy;
    transition(state, buffer, platform::State::unordered_access);
    state.list->bind_buffer(slot, *buffer.resource);
  }
}

void record(DeviceState& state, const KernelCall& call, const Launch& launch,
            std::shared_ptr<Buffer> table) {
  open_list(state);
  if (hook_removes_device()) state.device->remove();
  // What may find no memory comes before the mark, which would stay open.
  const UploadSlice slice = ring(state, table_floats(call) * sizeof(float));
  wait_for_dispatches(state);
  set_kernel(state, call.kernel);
  const bool marked = open_dispatch_mark(state, call, launch);
  set_constants(state, call, launch);
  bind_table(state, call, std::move(table), slice);
  bind_buffers(state, call.buffers);
  state.list->dispatch(launch.groups_x, launch.groups_y, 1);
  state.need_uav_barrier = true;
  state.estimate_ms += launch.estimate_ms;
  ++state.stats.dispatches;
  if (marked) close_dispatch_mark(state);
}

}  // namespace

void Device::launch(const KernelCall& call, const Launch& launch) {
  if (over_list_budget(*state_, launch.estimate_ms)) submit();
  hook_before_dispatch();
  record(*state_, call, launch, alloc(table_floats(call)));
}

void Device::dispatch(Kernel kernel, std::uint32_t groups_x, std::uint32_t groups_y,
                      const std::vector<std::uint32_t>& constants, const std::vector<float>& table,
                      const std::vector<Buffer*>& buffers) {
  if (groups_x == 0 || groups_y == 0) return;
  if (constants.size() > platform::kConstantWords) {
    throw std::logic_error("DX12: констант больше 16");
  }
  if (buffers.size() > platform::kBufferSlots) throw std::logic_error("DX12: буферов больше 6");

  const KernelCall call{
      kernel, constants, table, buffers, taps_of(kernel, constants), cost_key(kernel, constants)};
  const double whole_ms = estimate_ms(*state_, call, groups_x, groups_y);
  const double limit_ms = gpu_budget().dispatch_ms;
  const bool too_long = limit_ms > 0.0 && whole_ms > limit_ms;
  if (!too_long || !can_band(kernel, constants.size())) {
    launch(call, {groups_x, groups_y, 0, whole_ms});
    return;
  }
  const LaunchBands bands = cut_into_bands(groups_x, groups_y, whole_ms, limit_ms);
  for (std::uint64_t row = 0; row < bands.rows; row += bands.step) {
    const auto rows = static_cast<std::uint32_t>(std::min(bands.rows - row, bands.step));
    launch(call, {bands.width, rows, static_cast<std::uint32_t>(row),
                  rows * whole_ms / static_cast<double>(bands.rows)});
  }
}

}  // namespace morva::gpu
