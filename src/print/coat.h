// The patch of sensitiser that a hand brushed on to the sheet: ragged where the brush was lifted,
// thin where it ran dry, and streaked by its bristles. Outside it there is no image.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "print/process_block.h"

namespace morva {

// Multiplies the ink plane by how much of the sheet is coated. Draws the edge lines of the four
// sides (top, bottom, left, right; two lines each), then the strokes along the rows and along the
// columns; nothing without a coat. All of its lengths are fractions of the plane's long side.
void brush_coat(Image& ink, const CoatBlock& coat, Rng& rng);

}  // namespace morva
