// Density of the dye around the grains of a sub-sample, before it spreads.
#include "grown_grains.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(kRows) * q(kRasterWidth)) return;
  U2[id] = grain_count(id) * P[kEffect];
}
