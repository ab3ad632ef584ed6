// The list of commands: how it opens, what stands between two uses of a buffer, what is free again
// when it has ended.

#include "gpu/device_state.h"
#include "gpu/gpu_budget.h"
#include "gpu/gpu_error.h"

namespace morva::gpu {

namespace {

// A GPU that had nothing to do for longer has lowered its clocks.
constexpr std::int64_t kIdleNs = 50'000'000;

constexpr double kCopyBytesPerMs = 2e6;

}  // namespace

bool idle_since_last_submit(const DeviceState& state) {
  return state.source->now_ns() - state.last_submit_ns > kIdleNs;
}

void open_list(DeviceState& state) {
  if (state.open) return;
  check(state.allocator->reset(), "Reset аллокатора");
  check(state.list->reset(*state.allocator), "Reset списка");
  state.list->set_layout(*state.layout);
  state.list->set_band_row(0);
  state.open = true;
  state.after_idle = idle_since_last_submit(state);
  state.need_uav_barrier = false;
  state.estimate_ms = 0.0;
  state.open_labels.clear();
  state.pending_dispatches = 0;
  state.list_start_query.reset();
  if (state.profiling && has_query_room(state, 1)) state.list_start_query = write_timestamp(state);
  if (state.carry_marks) restart_carried_marks(state);
}

void wait_for_dispatches(DeviceState& state) {
  if (!state.need_uav_barrier) return;
  state.list->barrier();
  state.need_uav_barrier = false;
}

void transition(DeviceState& state, Buffer& buffer, platform::State to) {
  if (buffer.state == to) return;
  if (buffer.state != platform::State::common) {
    state.list->transition(*buffer.resource, buffer.state, to);
  }
  buffer.state = to;
}

double copy_estimate_ms(std::uint64_t bytes) {
  return static_cast<double>(bytes) / kCopyBytesPerMs * gpu_budget().scale;
}

void end_list(DeviceState& state) {
  state.closed_marks.clear();
  state.carry_marks = !state.open_marks.empty();
  state.queries_used = 0;
  state.pending_dispatches = 0;
  for (const std::unique_ptr<Buffer>& buffer : state.all_buffers) {
    buffer->state = platform::State::common;
  }
  state.dummy.state = platform::State::common;
  state.kept_buffers.clear();
  for (UploadChunk& chunk : state.upload_chunks) chunk.used = 0;
  state.big_uploads.clear();
  destroy_dead_buffers(state);
}

}  // namespace morva::gpu
