// All q(1) channels of each of q(0) pixels times the field's value there.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float field = U1[id];
  for (uint k = 0; k < q(1); ++k) U0[id * q(1) + k] = U0[id * q(1) + k] * field;
}
