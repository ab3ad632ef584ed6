// The exports about the view: a picture shown by the GPU beside the renders.

#include "engine/boundary.h"
#include "engine/engine_state.h"
#include "gpu/view.h"
#include "morva.h"

struct MorvaView {
  morva::gpu::View view;
};

namespace morva {

namespace {

std::int32_t view_failure(MorvaError* err) noexcept {
  try {
    throw;
  } catch (const gpu::GpuLost&) {
    return failure_as(err, MORVA_GPU_LOST, "показ: ");
  } catch (...) {
    return render_failure(err);
  }
}

std::int32_t create_view(bool with_swap_chain, MorvaView** out, MorvaError* err) {
  const std::lock_guard guard(engine_state().state_lock);
  const gpu::BackendHolder& holder = engine_state().gpu;
  if (!holder.selected)
    return fail(err, MORVA_BAD_ARGUMENT,
                "morva_view_create: GPU backend is not active (probe or morva_set_backend first)");
  if (is_lost(holder)) return gpu_lost(err);
  *out = new MorvaView{{holder.backend->device(), with_swap_chain}};
  return MORVA_OK;
}

// Does `action` to the view there is.
template <class Action>
std::int32_t with_view(MorvaView* view, MorvaError* err, Action&& action) noexcept {
  clear(err);
  if (view == nullptr) return fail(err, MORVA_BAD_ARGUMENT, "morva_view: null view");
  return guarded(err, view_failure, [&]() -> std::int32_t {
    action(view->view);
    return MORVA_OK;
  });
}

}  // namespace

}  // namespace morva

using namespace morva;

extern "C" {

MORVA_API int32_t morva_view_create(int32_t with_swap_chain, MorvaView** out, void** swap_chain_out,
                                    MorvaError* err) {
  clear(err);
  if (out == nullptr) return fail(err, MORVA_BAD_ARGUMENT, "morva_view_create: null out");
  *out = nullptr;
  if (swap_chain_out != nullptr) *swap_chain_out = nullptr;
  return guarded(err, view_failure, [&] { return create_view(with_swap_chain != 0, out, err); });
}

MORVA_API void morva_view_destroy(MorvaView* view) {
  delete view;
}

MORVA_API int32_t morva_view_set_image(MorvaView* view, const float* rgb, int32_t w, int32_t h,
                                       MorvaError* err) {
  return with_view(view, err, [&](gpu::View& shown) { shown.set_image(rgb, w, h); });
}

// The scale is a swap chain's.
MORVA_API int32_t morva_view_resize(MorvaView* view, int32_t w, int32_t h, float, float,
                                    MorvaError* err) {
  return with_view(view, err, [&](gpu::View& shown) { shown.resize(w, h); });
}

MORVA_API int32_t morva_view_draw(MorvaView* view, float scale, float x, float y, float angle_deg,
                                  uint32_t background, MorvaError* err) {
  return with_view(view, err,
                   [&](gpu::View& shown) { shown.draw(scale, x, y, angle_deg, background); });
}

MORVA_API int32_t morva_view_readback(MorvaView* view, void* dst, int32_t dst_bytes,
                                      MorvaError* err) {
  return with_view(view, err, [&](gpu::View& shown) { shown.readback(dst, dst_bytes); });
}

}  // extern "C"
