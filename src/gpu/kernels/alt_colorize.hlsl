// Paper under q(0) places of the ink plane U0, as linear light U1 of three channels. Where q(1) is set an opaque
// ink covers its share of the sheet, else a stain takes light by its density in each channel.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "bounds.hlsli"
#include "logarithms.hlsli"
#include "process_layout.h"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float d = U0[id];
  const float covered = within(P[pigment_layout::kOpacity] * d, 0.0, 1.0);
  for (uint k = 0; k < 3; ++k) {
    const float paper = P[pigment_layout::kPaper + k];
    const float pigment = P[pigment_layout::kPigment + k];
    const precise float inked = (1.0 - covered) * paper + covered * pigment;
    U1[id * 3 + k] = q(1) != 0 ? inked : paper * ten_to(-d * pigment);
  }
}
