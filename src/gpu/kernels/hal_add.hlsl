// Adds the halo U1, one plane of q(0) pixels, to the picture U0 of q(1) channels: P[0] times the colour P[1]
// onwards.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float light = P[0] * U1[id];
  for (uint k = 0; k < q(1); ++k) {
    const uint at = id * q(1) + k;
    const precise float lit = U0[at] + light * P[1 + k];
    U0[at] = lit;
  }
}
