// Each of q(0) pixels by the matrix in P, row after row.
#include "interface.hlsli"
#include "weighted_sum.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  const float r = U0[at], g = U0[at + 1], b = U0[at + 2];
  for (uint k = 0; k < 3; ++k)
    U0[at + k] = weighted_sum(r, g, b, P[k * 3], P[k * 3 + 1], P[k * 3 + 2]);
}
