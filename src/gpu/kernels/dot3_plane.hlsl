// One plane of q(0) pixels: the sum of three channels weighed by P.
#include "interface.hlsli"
#include "weighted_sum.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  U1[id] = weighted_sum(U0[at], U0[at + 1], U0[at + 2], P[0], P[1], P[2]);
}
