// The exports that render.

#include <string>
#include <utility>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "flow/flow.h"
#include "flow/options.h"
#include "morva.h"

namespace morva {

namespace {

std::int32_t gpu_lost(MorvaError* err, const std::string& reason) {
  return fail(err, MORVA_GPU_LOST, "видеокарта перестала отвечать: " + reason);
}

struct RenderCall {
  const char* film;
  const char* lens;
  const char* paper;
  const std::int32_t* cancel;
};

// The backend in use, or null for the CPU.
gpu::GpuBackend* active_backend() {
  EngineState& state = engine_state();
  const std::lock_guard guard(state.state_lock);
  return state.gpu.get();
}

bool recovered(const gpu::GpuLost& lost, bool may_retry) {
  const std::lock_guard guard(engine_state().state_lock);
  return gpu::recover(lost, may_retry);
}

// A backend can be lost on the way and the render begin again, so it leaves `input` as it is; the
// CPU takes the picture and frees it as soon as a stage has made the next.
Image render_once(const ProfileStore& store, Image& input, const Json& options,
                  const RenderCall& call) {
  RenderContext ctx;
  ctx.cancel = call.cancel;
  ctx.gpu = active_backend();
  Image source = ctx.gpu != nullptr ? input : std::move(input);
  return render_named(store, std::move(source), call.film, call.lens,
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
    const RenderCall call{film, lens, paper, cancel};
    const std::lock_guard render_guard(engine_state().render_lock);
    for (int attempt = 0;; ++attempt) {
      try {
        hand_out(render_once(*store, input, parsed, call), out);
        return MORVA_OK;
      } catch (const gpu::GpuLost& lost) {
        if (!recovered(lost, attempt == 0)) return gpu_lost(err, lost.what());
      }
    }
  });
}

MORVA_API int32_t morva_option_keys(char* buf, int32_t cap) {
  try {
    return hand_out(option_keys_text(), buf, cap);
  } catch (...) {  // no memory for the text
    return 0;
  }
}

}  // extern "C"
