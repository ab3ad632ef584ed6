// The end of a list: run and waited for, or dropped.

#include "gpu/device_state.h"
#include "gpu/gpu_error.h"

namespace morva::gpu {

namespace {

void run_and_wait(DeviceState& state) {
  const std::int64_t begin_ns = state.source->now_ns();
  state.queue->execute(*state.list);
  ++state.fence_value;
  // Nothing may throw between here and the end of the wait: the list is running.
  const platform::Result signalled = state.queue->signal(*state.fence, state.fence_value);
  check(signalled, "Signal");
  platform::Result waited;
  if (state.fence->completed() < state.fence_value) waited = state.fence->wait(state.fence_value);
  check(waited, "SetEventOnCompletion");
  state.last_submit_ns = state.source->now_ns();
  state.stats.wait_ms += static_cast<double>(state.last_submit_ns - begin_ns) * 1e-6;
  ++state.stats.submits;
}

// Closes the list, runs it and takes its times.
void run_list(DeviceState& state) {
  const std::optional<std::uint32_t> list_end_query = close_timings(state);
  // Closed, or failed to: nothing more may be recorded into it either way.
  state.open = false;
  check(state.list->close(), "Close списка");
  state.last_labels.swap(state.open_labels);
  state.open_labels.clear();
  run_and_wait(state);
  check(state.device->removed_reason(), "устройство потеряно");
  collect_timings(state, list_end_query);
}

}  // namespace

void Device::submit() {
  if (!state_->open) return;
  try {
    run_list(*state_);
  } catch (...) {  // a device that goes on must remember nothing of this list
    abandon();
    throw;
  }
  end_list(*state_);
}

void Device::abandon() noexcept {
  DeviceState& state = *state_;
  if (state.open) static_cast<void>(state.list->close());
  state.open = false;
  state.open_marks.clear();
  state.open_labels.clear();
  state.list_start_query.reset();
  state.need_uav_barrier = false;
  state.estimate_ms = 0.0;
  end_list(state);
}

}  // namespace morva::gpu
