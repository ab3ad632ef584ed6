// The hyperbolic tangent of q(0) floats, in place. Beyond 16 it is 1 in single precision.
#include "interface.hlsli"

MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float x = clamp(U0[id], -16.0, 16.0);
  const float fall = exp2(abs(x) * -2.88539008);  // e^-2|x|
  const float value = (1.0 - fall) / (1.0 + fall);
  U0[id] = x < 0.0 ? -value : value;
}
