// What a plane holds above the level P[0]. A sample that is not finite gives 0, so that it spoils its own
// pixel and not all that its light would reach.
#include "interface.hlsli"

static const float kMost = 3.4028234663852886e38;

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float excess = U0[id * q(1) + q(2)] - P[0];
  U1[id * q(3) + q(4)] = excess > 0.0 && excess <= kMost ? excess : 0.0;
}
