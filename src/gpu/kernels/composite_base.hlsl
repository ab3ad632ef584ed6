// The print where the mask U1 shows it, the paper's colour in P elsewhere.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float shown = U1[id];
  for (uint k = 0; k < 3; ++k) {
    const precise float mixed = shown * U0[id * 3 + k] + (1.0 - shown) * P[k];
    U0[id * 3 + k] = mixed;
  }
}
