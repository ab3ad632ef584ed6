// The exports that render.

#include <chrono>
#include <string>
#include <utility>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "flow/flow.h"
#include "flow/options.h"
#include "morva.h"

namespace morva {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

struct RenderCall {
  const char* film;
  const char* lens;
  const char* paper;
  const std::int32_t* cancel;
};

// What the render's report is headed by.
std::string title_of(const RenderCall& call) {
  return std::string(call.film) + " → " + (call.paper != nullptr ? call.paper : "по умолчанию");
}

// Keeps the report of a profiled render.
void keep_report(const gpu::Tract& backend, const RenderCall& call, SteadyTime begun) {
  const std::chrono::duration<double, std::milli> frame_ms =
      std::chrono::steady_clock::now() - begun;
  const std::lock_guard guard(engine_state().state_lock);
  engine_state().gpu.profile_report = backend.report_text(title_of(call), frame_ms.count());
}

// `input` as of process().
Image render_once(const ProfileStore& store, Image& input, const Json& options,
                  const RenderCall& call, gpu::Tract* backend, bool profiling) {
  RenderContext ctx;
  ctx.cancel = call.cancel;
  ctx.gpu = backend;
  if (backend != nullptr) backend->begin_render(profiling);
  return render_named(store, std::move(input), call.film, call.lens,
                      call.paper != nullptr ? call.paper : "", options, ctx);
}

}  // namespace

}  // namespace morva

using namespace morva;

extern "C" {

MORVA_API int32_t morva_render(const float* rgb, int32_t width, int32_t height, const char* options,
                               const char* film, const char* lens, const char* paper,
                               MorvaImage* out, MorvaError* err) {
  return morva_render_ex(rgb, width, height, options, film, lens, paper, nullptr, out, err);
}

MORVA_API int32_t morva_render_ex(const float* rgb, int32_t width, int32_t height,
                                  const char* options, const char* film, const char* lens,
                                  const char* paper, const int32_t* cancel, MorvaImage* out,
                                  MorvaError* err) {
  clear(err);
  if (out != nullptr) *out = MorvaImage{};
  if (rgb == nullptr || out == nullptr || width <= 0 || height < 1 || film == nullptr ||
      lens == nullptr)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_render: пустой вход, размер или имя профиля");
  return guarded(err, render_failure, [&]() -> std::int32_t {
    const ProfileStore* store = ensure_profiles(err);
    if (store == nullptr) return MORVA_PROFILE_FAILED;
    const Json parsed = parse_options(options);
    Image input = copy_light_in(rgb, width, height);
    const SteadyTime begun = std::chrono::steady_clock::now();
    const RenderCall call{film, lens, paper, cancel};
    EngineState& state = engine_state();
    const std::lock_guard render_guard(state.render_lock);
    for (int attempt = 0;; ++attempt) {
      gpu::Tract* backend = nullptr;
      bool profiling = false;
      {
        const std::lock_guard guard(state.state_lock);
        if (is_lost(state.gpu)) return gpu_lost(err);
        backend = active_backend(state.gpu);
        profiling = state.gpu.profiling;
      }
      try {
        const Image sheet = render_once(*store, input, parsed, call, backend, profiling);
        if (backend != nullptr && profiling) keep_report(*backend, call, begun);
        hand_out(sheet, out);
        return MORVA_OK;
      } catch (const gpu::GpuLost& lost) {
        const std::lock_guard guard(state.state_lock);
        if (!recover(state.gpu, lost, attempt == 0)) return gpu_lost(err);
      }
    }
  });
}

MORVA_API int32_t morva_option_keys(char* buf, int32_t cap) {
  return guarded(nullptr, no_text, [&] { return hand_out(option_keys_text(), buf, cap); });
}

}  // extern "C"
