// The sheet and the colour that lies on it.
#pragma once

#include <array>

#include "image/image.h"
#include "print/process_block.h"

namespace morva {

// Linear RGB of paper of the colour `paper` under the ink plane (0 bare, 1 full): an opaque ink
// covers its share of the sheet, a stain takes light by its density in each channel.
Image colour_of_ink(const Image& ink, const PigmentBlock& pigment,
                    const std::array<float, 3>& paper);

}  // namespace morva
