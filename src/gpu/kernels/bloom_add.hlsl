// Adds bloom to a channel of q(0) pixels that stands in U0 with stride q(1) and offset q(2): the tight lobe in
// U1 by P[1] and the wide one in U2 by P[0], tinted by P[2], of strength P[3].
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * q(1) + q(2);
  const precise float spread = P[0] * U2[id] + P[1] * U1[id];
  const precise float lit = U0[at] + spread * P[2] * P[3];
  U0[at] = lit;
}
