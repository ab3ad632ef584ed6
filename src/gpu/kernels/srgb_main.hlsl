// q(0) floats of linear light for a screen.
#include "interface.hlsli"
#include "srgb.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  U2[id] = srgb_encoded(U0[id]);
}
