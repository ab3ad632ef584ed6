// The hyperbolic tangent of q(0) floats, in place.
#include "interface.hlsli"
#include "hyperbolic_tangent.hlsli"

MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U0[id] = hyperbolic_tangent(U0[id]);
}
