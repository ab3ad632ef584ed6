// The development effect along edges: q(0) densities U0 move away from the blurred ones U1 by P[0] times the
// difference. Where q(1) is set, the effect saturates at a difference of P[1] and moves no density by more than
// P[2].
#include "interface.hlsli"
#include "hyperbolic_tangent.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float difference = U0[id] - U1[id];
  const float moved = q(1) != 0 ? hyperbolic_tangent(difference / P[1]) * P[2] : difference * P[0];
  U0[id] = U0[id] + moved;
}
