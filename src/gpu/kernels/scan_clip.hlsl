// q(0) floats: what lies above the knee P[0] rises by the slope P[1] only.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float knee = P[0];
  const float x = U0[id];
  const precise float pressed = knee + (x - knee) * P[1];
  U0[id] = x > knee ? pressed : x;
}
