// Takes the middle in U1 out of the disc in U0, q(0) floats: P[0] of it, and P[1] is what is then left of the
// light.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const precise float rim = U0[id] - P[0] * U1[id];
  U0[id] = rim / P[1];
}
