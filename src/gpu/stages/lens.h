// The lens: the scene's picture becomes the picture on the film plane.
#pragma once

#include "gpu/device.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva::gpu {

// Scene-linear RGB in and out, at the same size; samples below 0 come out as 0. The buffer of the
// picture given may be changed. A veil waits for the GPU, and faults of the field bring a reduced
// copy to the CPU. Throws Cancelled as the CPU's stage does.
GImage apply_lens(Device& device, GImage picture, const Json& lens, const Json& opts,
                  const RenderContext& ctx);

}  // namespace morva::gpu
