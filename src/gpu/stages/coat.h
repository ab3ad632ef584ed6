// The brushed patch of sensitiser on the GPU: print/coat.h.
#pragma once

#include "gpu/device.h"
#include "gpu/stages/drawn_field.h"
#include "print/coat.h"

namespace morva::gpu {

// Multiplies the ink plane by how much of the sheet is coated, in place. Draws as the CPU's does.
void brush_coat(Device& device, const GImage& ink, const CoatBlock& coat, Rng& rng);

// The coat under the given tracks.
struct CoatPlanes {
  GImage share;      // of a full coat, 0..1
  GImage thickness;  // about 1
};
CoatPlanes coat_planes(Device& device, const DrawnCoat& coat, const FieldPair& tracks);

}  // namespace morva::gpu
