// q(0) floats over P[0].
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U0[id] = U0[id] / P[0];
}
