// The unevenness of ink on paper, on the GPU: print/process_texture.h.
#pragma once

#include "gpu/device.h"
#include "print/process_texture.h"

namespace morva::gpu {

// Lays `field`, of the size of the ink plane, on it in place.
void show_in_ink(Device& device, const GImage& ink, const GImage& field, const InkField& how);

}  // namespace morva::gpu
