// The road of a picture on the GPU: the same stages in the same order as process(), on kernels
// where there are some. What is irregular or rare (cards, mats, stamps, plates, print runs) comes
// back to the CPU for its stage.
#pragma once

#include "gpu/device.h"
#include "gpu/stages/frame.h"
#include "image/image.h"
#include "image/render_context.h"
#include "profiles/json_access.h"
#include "profiles/store.h"

namespace morva::gpu {

// As process(), whose checks of its arguments have passed. Adds each stage's wall time to
// `stage_times` while the device is profiling. Throws GpuLost besides; the device's list may then
// be left open.
Image render_on_gpu(Device& device, StageTimes& stage_times, const ProfileStore& store,
                    const Image& input, const Json& film, const Json& lens, const Json& paper,
                    const Json& options, RenderContext& ctx);

}  // namespace morva::gpu
