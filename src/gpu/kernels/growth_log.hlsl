// Density of light that passes over the base P[0], light below P[1] counted as that. It goes to a plane of q(0)
// pixels with stride q(1) and offset q(2).
#include "interface.hlsli"
#include "bounds.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  precise const float density = P[0] - log2(at_least(U0[id], P[1])) * 0.30103001;
  U1[id * q(1) + q(2)] = density;
}
