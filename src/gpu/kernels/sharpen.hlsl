// Unsharp masking: q(0) floats U0 gain P[0] times what they have over the blurred ones U1, and stay light.
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float x = U0[id];
  const precise float sharpened = x + (x - U1[id]) * P[0];
  U0[id] = at_least(sharpened, 0.0);
}
