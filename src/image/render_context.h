// What one attempt at a render carries down the flow beside its arguments.
#pragma once

#include <atomic>
#include <cstdint>

#include "image/errors.h"

namespace morva {

namespace gpu {
class GpuBackend;
class PointwiseGpu;
}  // namespace gpu

struct RenderContext {
  gpu::GpuBackend* gpu = nullptr;          // when set, takes over the whole render
  gpu::PointwiseGpu* pointwise = nullptr;  // when set, takes over the per-pixel loops of a stage
  bool pointwise_used = false;             // set by a stage that used it
  const std::int32_t* cancel = nullptr;    // the host's flag; any value but 0 means stop
};

// Throws Cancelled when the host has raised its flag. The flag lives in the host's memory and may
// be written from any thread, so it is read as an atomic.
inline void check_cancel(const RenderContext& ctx) {
  if (ctx.cancel == nullptr) return;
  std::atomic_ref<std::int32_t> flag(*const_cast<std::int32_t*>(ctx.cancel));
  if (flag.load(std::memory_order_relaxed) != 0) throw Cancelled();
}

}  // namespace morva
