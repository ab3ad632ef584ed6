// Light through a density: q(0) sub-samples, from element q(1) of U0 on.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U1[id] = exp2(-U0[q(1) + id] * 3.32192802);
}
