// Reversal film, and its print on direct-positive paper, on the GPU: print/slide.h and
// print/reversal_print.h.
#pragma once

#include "gpu/stages/frame.h"
#include "print/reversal_print.h"
#include "print/slide.h"

namespace morva::gpu {

// Transmission of the finished slide, linear, 0..1, three channels. `scene`: linear light as the
// layers see it; its buffer may be changed.
GImage develop_slide(const Frame& frame, GImage scene);

// The same, printed: reflectance, linear, 0..1, three channels.
GImage print_reversal(const Frame& frame, GImage scene);

// From light in the layers to a new picture of their densities with base and fog. `uneven` may be
// without a buffer; the field of `params` is not read.
GImage develop_reversal_dyes(Device& device, const GImage& light, const GImage& uneven,
                             const SlideParams& params);

// From a slide's transmission to the print, in the paper's tone.
GImage print_transmission(Device& device, const GImage& slide, const ReversalPrintParams& params,
                          const std::optional<std::array<float, 3>>& tone);

}  // namespace morva::gpu
