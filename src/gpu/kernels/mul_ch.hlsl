// q(0) floats of q(1) interleaved channels, each times the gain of its channel.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U0[id] = U0[id] * P[id % q(1)];
}
