// A field of unit deviation U1 shows in q(0) places of the ink plane U0. P[0] is the change of ink a deviation,
// largest in the mid tones and held back where the layer is full; P[1] the share of ink that strikes in the
// lights as specks.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "bounds.hlsli"
#include "logarithms.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float d = U0[id];
  const float n = U1[id];
  const float light = d / 0.14;
  const float lights = exp2(light * light * -1.44269504);  // e^-light^2
  const precise float tone = (1.0 - 0.4 * d * d * d) * power(d, 0.85) / 0.62 * n;
  const precise float speck = lights * at_least(n, 0.0) * P[1];
  const precise float ink = (tone + speck) * P[0] + d;
  U0[id] = within(ink, 0.0, 1.0);
}
