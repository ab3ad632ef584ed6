// The exports that render.

#include <algorithm>
#include <cmath>
#include <string>

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "engine/flow.h"
#include "engine/options.h"
#include "image/errors.h"
#include "morva.h"
#include "profiles/json_text.h"

namespace morva {

namespace {

// Light beyond this is bounded, and a sample that is not a number counts as black, so that a
// damaged pixel stays one pixel instead of spreading through every blur. The sun's disc is about
// 1e6 above white.
constexpr float kBrightestLight = 1e9f;

Image bounded_picture(const float* rgb, std::int32_t width, std::int32_t height) {
  Image picture = copy_in(rgb, width, height);
  for (float& light : picture.data)
    light = std::isnan(light) ? 0.0f : std::clamp(light, -kBrightestLight, kBrightestLight);
  return picture;
}

Json parse_options(const char* options) {
  if (options == nullptr || *options == '\0') return Json();
  try {
    return parse_json(options);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    throw OptionsError(std::string("опции — не JSON: ") + error.what());
  }
}

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

Image render_once(const ProfileStore& store, const Image& input, const Json& options,
                  const RenderCall& call) {
  RenderContext ctx;
  ctx.cancel = call.cancel;
  ctx.gpu = active_backend();
  return render_named(store, input, call.film, call.lens, call.paper != nullptr ? call.paper : "",
                      options, ctx);
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
    const Image input = bounded_picture(rgb, width, height);
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
