// One more layer U1 of a drawn field, P[1] of it to P[0] of the sum U0 so far; q(0) floats.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const precise float sum = P[0] * U0[id] + P[1] * U1[id];
  U0[id] = sum;
}
