// The exports about the GPU: which backend renders, how it fares, and what it left to read.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "gpu/gpu_budget.h"
#include "gpu/platform/platform.h"
#include "gpu/test_hooks.h"
#include "morva.h"

static_assert(sizeof(MorvaGpuProbe) == 2308 && offsetof(MorvaGpuProbe, name) == 4 &&
              offsetof(MorvaGpuProbe, adapters) == 260 && offsetof(MorvaGpuProbe, error) == 1284);
static_assert(sizeof(MorvaGpuState) == 4136 && offsetof(MorvaGpuState, requested_bytes) == 24 &&
              offsetof(MorvaGpuState, report) == 40);
static_assert(sizeof(MorvaGpuStats) == 336 && offsetof(MorvaGpuStats, submits) == 56 &&
              offsetof(MorvaGpuStats, longest_submit_ms) == 64 &&
              offsetof(MorvaGpuStats, longest_dispatch) == 80);

namespace morva {

namespace {

// Both locks, for whatever makes or drops a device.
struct DeviceLocks {
  std::scoped_lock<std::mutex> render{engine_state().render_lock};
  std::scoped_lock<std::mutex> state{engine_state().state_lock};
};

template <std::size_t N>
void put(char (&to)[N], std::string_view text) {
  const std::size_t n = std::min(text.size(), N - 1);
  std::memcpy(to, text.data(), n);
  to[n] = '\0';
}

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : "; ") + name;
  return all;
}

constexpr std::int32_t kReady = 0, kNoHardware = 1, kNoneUsable = 2, kProbeFailed = 3;

void probe(MorvaGpuProbe& out) {
  const gpu::AdapterList list = gpu::list_adapters(gpu::source_of(engine_state().gpu));
  put(out.adapters, joined(list.hardware));
  out.status = list.hardware.empty() ? kNoHardware : kNoneUsable;
  if (list.usable == 0) return;
  const DeviceLocks locks;
  put(out.name, gpu::probe_backend(engine_state().gpu));
  out.status = kReady;
}

std::int32_t selection_failure(MorvaError* err) noexcept {
  return failure_as(err, MORVA_FAILED, "DirectX 12: ");
}

std::int32_t retry_failure(MorvaError* err) noexcept {
  return failure_as(err, MORVA_GPU_LOST, "видеокарта не отвечает: ");
}

void fill_pool(MorvaGpuStats& out, const gpu::PoolStats& pool) {
  out.local_budget = pool.local_budget;
  out.local_usage = pool.local_usage;
  out.shared_budget = pool.shared_budget;
  out.shared_usage = pool.shared_usage;
  out.pool_free_bytes = pool.pool_free_bytes;
  out.pool_total_bytes = pool.pool_total_bytes;
  out.pending_dispatches = pool.pending_dispatches;
}

void fill_render(MorvaGpuStats& out, const gpu::RenderStats& stats) {
  const std::vector<double>& lists = stats.submit_ms;
  out.submits = static_cast<std::uint32_t>(lists.empty() ? stats.submits : lists.size());
  out.longest_submit_ms = lists.empty() ? 0.0 : *std::max_element(lists.begin(), lists.end());
  out.longest_dispatch_ms = stats.longest_dispatch_ms;
  put(out.longest_dispatch, stats.longest_dispatch);
  put(out.longest_submit, stats.longest_submit);
}

std::int32_t apply_hook(std::uint32_t kind, std::int32_t value) {
  gpu::TestHooks& hooks = gpu::test_hooks();
  switch (kind) {
    case 0:
      hooks = gpu::TestHooks{};
      return 0;
    case 1:
      hooks.remove_at = value;
      hooks.dispatch_count = 0;
      return 0;
    case 2:
      hooks.throw_at = value;
      hooks.dispatch_count = 0;
      return 0;
    case 3:
      hooks.no_pool = value != 0;
      return 0;
    case 4:
      hooks.fail_alloc_at = value;
      hooks.alloc_count = 0;
      return 0;
    case 5:
      gpu::gpu_budget().submit_ms = value;
      return 0;
    case 6:
      gpu::gpu_budget().dispatch_ms = value;
      return 0;
    case 7: {
      const std::lock_guard guard(engine_state().state_lock);
      forget_losses(engine_state().gpu);
      return 0;
    }
    case 8:
      hooks.fail_alloc_from = value;
      hooks.alloc_count = 0;
      return 0;
    case 9:
      return static_cast<std::int32_t>(hooks.alloc_count);
    case 10:
      return hooks.fail_alloc_at;
    default:
      return 0;
  }
}

}  // namespace

}  // namespace morva

using namespace morva;

extern "C" {

MORVA_API int32_t morva_set_backend(const char* name, MorvaError* err) {
  clear(err);
  const std::string_view wanted = name != nullptr ? name : "";
  return guarded(err, selection_failure, [&]() -> std::int32_t {
    const DeviceLocks locks;
    gpu::BackendHolder& holder = engine_state().gpu;
    if (wanted.empty() || wanted == "cpu") {
      select_cpu(holder);
      return MORVA_OK;
    }
    if (wanted != "gpu" && wanted != "gpu-warp")
      return fail(err, MORVA_BAD_ARGUMENT,
                  "бэкенд: cpu | gpu | gpu-warp, а не «" + std::string(wanted) + "»");
    select_gpu(holder, wanted == "gpu-warp");
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_backend_name(char* buf, int32_t cap) {
  return guarded(nullptr, no_text, [&] {
    const std::lock_guard guard(engine_state().state_lock);
    hand_out(describe_backend(engine_state().gpu), buf, cap);
    return 0;
  });
}

MORVA_API void morva_release_gpu(void) {
  const DeviceLocks locks;
  release_backend(engine_state().gpu);
}

MORVA_API int32_t morva_gpu_probe(MorvaGpuProbe* out) {
  if (out == nullptr) return MORVA_BAD_ARGUMENT;
  *out = MorvaGpuProbe{};
  MorvaError failed;
  const std::int32_t code = guarded(&failed, plain_failure, [&]() -> std::int32_t {
    probe(*out);
    return MORVA_OK;
  });
  if (code == MORVA_OK) return MORVA_OK;
  put(out->error, failed.message);
  out->status = kProbeFailed;
  return MORVA_OK;
}

MORVA_API void morva_gpu_state(MorvaGpuState* out) {
  if (out == nullptr) return;
  *out = MorvaGpuState{};
  const std::lock_guard guard(engine_state().state_lock);
  gpu::BackendHolder& holder = engine_state().gpu;
  out->generation = holder.generation;
  out->lost = holder.lost ? 1 : 0;
  out->recoveries = holder.recoveries;
  out->reason = holder.last_loss.reason;
  out->hresult = holder.last_loss.hresult;
  out->requested_bytes = holder.last_loss.requested_bytes;
  out->available_bytes = holder.last_loss.available_bytes;
  put(out->report, holder.last_loss.report);
  holder.recoveries = 0;
}

MORVA_API int32_t morva_gpu_retry(MorvaError* err) {
  clear(err);
  return guarded(err, retry_failure, []() -> std::int32_t {
    const DeviceLocks locks;
    retry_backend(engine_state().gpu);
    return MORVA_OK;
  });
}

MORVA_API uint32_t morva_gpu_generation(void) {
  const std::lock_guard guard(engine_state().state_lock);
  return engine_state().gpu.generation;
}

MORVA_API void morva_gpu_stats(MorvaGpuStats* out) {
  if (out == nullptr) return;
  *out = MorvaGpuStats{};
  const std::unique_lock render_guard(engine_state().render_lock, std::try_to_lock);
  const std::lock_guard guard(engine_state().state_lock);
  const auto& backend = engine_state().gpu.backend;
  if (backend == nullptr) return;
  fill_pool(*out, backend->device().pool_stats());
  if (render_guard.owns_lock()) fill_render(*out, backend->device().stats());
}

MORVA_API int32_t morva_gpu_debug_messages(char* buf, int32_t cap) {
  return guarded(nullptr, no_text, [&]() -> std::int32_t {
    const DeviceLocks locks;
    const auto& backend = engine_state().gpu.backend;
    if (backend == nullptr) return 0;
    const std::vector<std::string> messages = backend->device().debug_messages();
    std::string text;
    for (const std::string& message : messages) text += message + "\n";
    hand_out(text, buf, cap);
    return static_cast<std::int32_t>(messages.size());
  });
}

MORVA_API int32_t morva_gpu_test_hook(uint32_t kind, int32_t value) {
  return apply_hook(kind, value);
}

MORVA_API int32_t morva_set_profiling(int32_t on) {
  const std::lock_guard guard(engine_state().state_lock);
  engine_state().gpu.profiling = on != 0;
  return 0;
}

MORVA_API int32_t morva_profile_report(char* buf, int32_t cap) {
  const std::lock_guard guard(engine_state().state_lock);
  return hand_out(engine_state().gpu.profile_report, buf, cap);
}

}  // extern "C"
