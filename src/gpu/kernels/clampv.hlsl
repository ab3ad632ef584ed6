// q(0) floats held at 0 and above, and at 1 and below where q(1) is set. What is no number becomes 0.
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float lit = at_least(U0[id], 0.0);
  U0[id] = q(1) != 0 ? min(lit, 1.0) : lit;
}
