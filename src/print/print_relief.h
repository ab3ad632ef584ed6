// The relief of a thick layer: where the ink climbs or falls its slopes turn to the light or away
// from it, and a glossy layer throws some light back.
#pragma once

#include "image/image.h"
#include "print/process_block.h"

namespace morva {

// Lights `print` (linear RGB) by the slopes of the ink plane `ink` of the same size. Stays
// within 0..1.
void light_relief(Image& print, const Image& ink, const ReliefBlock& relief, double px_per_mm);

}  // namespace morva
