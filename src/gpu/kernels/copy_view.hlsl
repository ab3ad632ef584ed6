// q(0) elements of one plane into another.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U1[id * q(3) + q(4)] = U0[id * q(1) + q(2)];
}
