// A print U0 of q(0) pixels under the light U1 and the shade U2 of its relief, with P[0] of the gloss U3 thrown
// back.
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)
MORVA_BUFFER(3)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const precise float lit = 1.0 + (U1[id] + U2[id]);
  const precise float back = P[0] * U3[id];
  for (uint k = 0; k < 3; ++k) {
    const precise float light = U0[id * 3 + k] * lit + back;
    U0[id * 3 + k] = within(light, 0.0, 1.0);
  }
}
