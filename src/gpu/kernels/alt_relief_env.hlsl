// What reaches the eye from a layer in relief, q(0) places. U0 comes as the light on its slopes, -1..1, and keeps
// what falls on those turned to the lamp; U2 is what the others lack. U3 is the gloss of the ink U1, its power
// P[0]. Where q(1) is 0 no slopes were made and there is none of the two.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)
MORVA_BUFFER(3)

#include "bounds.hlsli"
#include "logarithms.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  float lit = 0.0;
  if (q(1) != 0) lit = U0[id];
  U0[id] = at_least(lit, 0.0);
  U2[id] = lit < 0.0 ? lit : 0.0;
  U3[id] = power(U1[id], P[0]);
}
