// A layer of tracks U0 goes into two sums at once, P[0] of it into U1 and P[1] into U2; q(0) floats. Where q(1)
// is set it is the first, and the sums hold nothing yet.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float layer = U0[id];
  const precise float first = P[0] * layer;
  const precise float second = P[1] * layer;
  if (q(1) != 0) {
    U1[id] = first;
    U2[id] = second;
  } else {
    U1[id] = U1[id] + first;
    U2[id] = U2[id] + second;
  }
}
