// The brushed coat of q(0) rows of q(1) pixels: U2, its share of a full one between the left and the right edge
// under the tracks U0 along the rows, and U3, how thick both those and the tracks U1 across them leave it.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)
MORVA_BUFFER(3)

#include "coat_share.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0) * q(1)) return;
  const uint y = id / q(1);
  const float along = U0[id];
  const float across = U1[id];
  U2[id] = coat_share(inside_edges(id - y * q(1), q(1), y, q(0)), along);
  const precise float thickness = 1.0 + P[coat_layout::kStreaks] * (along + 0.4 * across);
  U3[id] = thickness;
}
