// A plain copy of q(0) floats.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U2[id] = U0[id];
}
