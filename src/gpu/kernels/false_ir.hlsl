// Infrared film: red shows what the infrared layer sees, green the red, blue the green. P holds the weights of
// R, G, B in the infrared and of the glow of chlorophyll, which is told by green above both others.
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  const float r = U0[at], g = U0[at + 1], b = U0[at + 2];
  const float foliage = at_least(g - at_least(r, b), 0.0);
  const precise float infrared = ((P[3] * foliage + P[1] * g) + P[0] * r) + P[2] * b;
  U0[at] = infrared;
  U0[at + 1] = r;
  U0[at + 2] = g;
}
