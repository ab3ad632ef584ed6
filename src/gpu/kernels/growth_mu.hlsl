// What is to be grown, from a density: P[2] for each unit above the base P[0], within the range P[1], and P[3]
// without any. A plane of q(0) pixels with stride q(1) and offset q(2). Not a number counts as base.
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  precise const float above = U0[id * q(1) + q(2)] - P[0];
  precise const float mean = P[2] * within(above, 0.0, P[1]) + P[3];
  U1[id] = mean;
}
