// P[0] * a + P[1] * b over q(0) floats.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const precise float sum = P[0] * U0[id] + P[1] * U1[id];
  U2[id] = sum;
}
