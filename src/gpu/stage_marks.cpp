// Timing by the GPU's own clock: marks around dispatches and stages, read back once the list has
// run. A full query heap loses timing, never work.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "gpu/cost_model.h"
#include "gpu/decimal.h"
#include "gpu/device_state.h"

namespace morva::gpu {

namespace {

// Milliseconds between two timestamps; a clock that ran backwards gives 0.
double span_ms(const DeviceState& state, const std::uint64_t* ticks, std::uint32_t begin,
               std::uint32_t end) {
  if (ticks[end] < ticks[begin]) return 0.0;
  return static_cast<double>(ticks[end] - ticks[begin]) * 1000.0 /
         static_cast<double>(state.ticks_per_s);
}

std::string name_of(const Mark& mark) {
  return mark.kernel ? kernel_name(*mark.kernel) : mark.label;
}

void note_longest_dispatch(RenderStats& stats, const Mark& mark, double ms) {
  double& longest_of_kernel = stats.max_ms_by_name[name_of(mark)];
  longest_of_kernel = std::max(longest_of_kernel, ms);
  if (ms <= stats.longest_dispatch_ms) return;
  stats.longest_dispatch_ms = ms;
  stats.longest_dispatch = name_of(mark) + " " + decimal(mark.work, 0) + " работ, оценка " +
                           decimal(mark.estimate_ms, 1) + " мс";
}

void note_mark(DeviceState& state, const Mark& mark, double ms) {
  state.stats.gpu_ms_by_name[name_of(mark)] += ms;
  ++state.stats.calls_by_name[name_of(mark)];
  if (!mark.kernel) return;
  note_longest_dispatch(state.stats, mark, ms);
  if (mark.work > 0.0 && ms > 0.0) {
    learn(cost_model(), *mark.kernel, mark.key, ms * 1e6 / mark.work);
  }
}

void note_list(DeviceState& state, double ms) {
  std::vector<double>& lists = state.stats.submit_ms;
  if (lists.empty() || ms > *std::max_element(lists.begin(), lists.end())) {
    state.stats.longest_submit = "диспетчей " + std::to_string(state.last_labels.size()) +
                                 ", оценка " + decimal(state.estimate_ms, 1) + " мс" +
                                 (state.after_idle ? ", после простоя" : "");
  }
  lists.push_back(ms);
}

}  // namespace

bool has_query_room(const DeviceState& state, std::uint32_t count) {
  return state.ticks_per_s != 0 && state.queries_used + count <= kMostQueries;
}

std::uint32_t write_timestamp(DeviceState& state) {
  state.list->end_query(*state.queries, state.queries_used);
  return state.queries_used++;
}

void restart_carried_marks(DeviceState& state) {
  for (Mark& mark : state.open_marks) {
    const bool timed = mark.begin_query && has_query_room(state, 1);
    mark.begin_query.reset();
    if (timed) mark.begin_query = write_timestamp(state);
  }
  state.carry_marks = false;
}

std::optional<std::uint32_t> close_timings(DeviceState& state) {
  for (const Mark& mark : state.open_marks) {
    if (!mark.begin_query || !has_query_room(state, 1)) continue;
    state.closed_marks.push_back(mark);
    state.closed_marks.back().end_query = write_timestamp(state);
  }
  std::optional<std::uint32_t> list_end_query;
  if (state.list_start_query && has_query_room(state, 1)) list_end_query = write_timestamp(state);
  if (state.queries_used > 0) {
    state.list->resolve(*state.queries, state.queries_used, *state.query_readback);
  }
  return list_end_query;
}

void collect_timings(DeviceState& state, std::optional<std::uint32_t> list_end_query) {
  if (state.queries_used == 0) return;
  std::vector<std::uint64_t> ticks(state.queries_used);
  void* memory = nullptr;
  const std::uint64_t bytes = ticks.size() * sizeof ticks[0];
  if (!state.query_readback->map(bytes, &memory).ok()) return;
  std::memcpy(ticks.data(), memory, bytes);
  state.query_readback->unmap();
  for (const Mark& mark : state.closed_marks) {
    note_mark(state, mark, span_ms(state, ticks.data(), *mark.begin_query, mark.end_query));
  }
  if (list_end_query) {
    note_list(state, span_ms(state, ticks.data(), *state.list_start_query, *list_end_query));
  }
}

// Without room the mark still stands, for its end to take off.
void Device::begin_mark(const std::string& label) {
  if (has_query_room(*state_, 2)) open_list(*state_);
  Mark mark;
  mark.label = label;
  // Carried marks may have taken the room.
  if (has_query_room(*state_, 2)) mark.begin_query = write_timestamp(*state_);
  state_->open_marks.push_back(std::move(mark));
}

// A mark carried over from the list before begins anew when this opens the next one, so the list
// opens before the mark is taken off.
void Device::end_mark() {
  if (state_->open_marks.empty()) return;
  if (has_query_room(*state_, 1)) open_list(*state_);
  Mark mark = std::move(state_->open_marks.back());
  state_->open_marks.pop_back();
  if (!mark.begin_query || !has_query_room(*state_, 1)) return;
  mark.end_query = write_timestamp(*state_);
  state_->closed_marks.push_back(std::move(mark));
}

}  // namespace morva::gpu
