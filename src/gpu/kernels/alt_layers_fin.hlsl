// Sums of drawn layers become fields of unit deviation: q(0) floats of U0, less P[0] and times P[1], and of U1
// with P[2] and P[3] where q(1) is set.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U0[id] = (U0[id] - P[0]) * P[1];
  if (q(1) != 0) U1[id] = (U1[id] - P[2]) * P[3];
}
