// A positive under a scanner, on the GPU: print/scan.h.
#pragma once

#include "gpu/device.h"
#include "print/scan.h"

namespace morva::gpu {

// Light of the positive (linear, three channels) as the scanner reads it, 0..1. In place: the
// buffer is shared by every copy of `positive`.
GImage scan_positive(Device& device, GImage positive, const Json& paper, const Json& options);

// Blur, size, sharpening and clipped highlights of the file, 0..1. May change the buffer.
GImage scan_finish(Device& device, GImage positive, const Json& paper);

// One kernel each, in place.
void read_positive(Device& device, const GImage& positive, const ScanParams& params);
void sharpen(Device& device, const GImage& picture, const GImage& blurred, float factor);
void press_highlights(Device& device, const GImage& picture, float knee);

}  // namespace morva::gpu
