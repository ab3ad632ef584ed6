// Adds a veil of light to q(0) floats of three channels, in strength P[0]: the wide blur in U1 by P[1], and
// P[2 + k] of the far light of channel k.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint k = id % 3;
  const precise float veil = P[1] * U1[id] + P[2 + k];
  const precise float lit = U0[id] + P[0] * veil;
  U0[id] = lit;
}
