// Noise U1 of unit deviation onto a density, in the deviation of silver clusters over the curve: base P[0], range
// P[1], the curve's norm P[2], amount P[3]. A plane of q(0) pixels with stride q(1) and offset q(2).
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * q(1) + q(2);
  const float t = within((U0[at] - P[0]) / P[1], 0.0, 1.0);
  precise const float amplitude = sqrt((1.0 - 0.45 * t) * (t + 0.06));
  precise const float density = U0[at] + ((amplitude * P[2]) * P[3]) * U1[id];
  U0[at] = density;
}
