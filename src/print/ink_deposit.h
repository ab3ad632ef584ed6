// How ink comes to lie on the sheet: what prints at all, and what goes over from the plate or the
// matrix. `ink` is one plane, 0 bare paper, 1 full ink; both work in place.
#pragma once

#include "image/image.h"
#include "print/process_block.h"

namespace morva {

// The lightest inks do not print at all, and the shadows fill in.
void floor_and_plug(Image& ink, double ink_floor, double plug);

// A heavy layer goes over worse than a thin one, and spreads on the way.
void transfer_ink(Image& ink, const TransferBlock& transfer, double px_per_mm);

}  // namespace morva
