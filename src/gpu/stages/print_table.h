// Exposing a paper: what the two print kernels are told, which is a paper's curve with its ends,
// the exposure, the enlarger's veil, the look and the tone; and the launch that both share.
#pragma once

#include <array>
#include <vector>

#include "gpu/device.h"
#include "print/paper.h"

namespace morva::gpu {

// The light that the enlarger scatters over a print from each channel of a negative: its share of
// the mean. 0 for an enlarger without flare, which measures nothing; otherwise submits and waits.
std::array<float, 3> printer_veil(Device& device, const PrintParams& params, const GImage& density);

std::vector<float> print_table(const PrintParams& params, const std::array<float, 3>& veil);

// The print of `density`, three channels, by `kernel`: print_bw_main or print_color_main.
GImage expose_paper(Device& device, Kernel kernel, const PrintParams& params,
                    const GImage& density);

}  // namespace morva::gpu
