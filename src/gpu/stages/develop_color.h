// The colour negative on the GPU: film/develop_color.h.
#pragma once

#include "film/develop_color.h"
#include "gpu/stages/frame.h"

namespace morva::gpu {

// The densities of the three layers, relative to those of a mid grey. `scene`: linear light as the
// layers see it, three channels; its buffer may be changed.
GImage develop_color(const Frame& frame, GImage scene);

// From exposed light (film blur and halation done) to a new picture of layer densities with base
// and fog. The field of uneven development is `uneven`, which may be without a buffer; the one of
// `params` is not read.
GImage develop_dyes(Device& device, const GImage& light, const GImage& uneven,
                    const DevelopParams& params);

}  // namespace morva::gpu
