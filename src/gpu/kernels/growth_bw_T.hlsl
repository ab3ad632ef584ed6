// Light through the silver grains of a sub-sample, each of which blocks the same area.
#include "grown_grains.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(kRows) * q(kRasterWidth)) return;
  U2[id] = exp(-(grain_count(id) * P[kEffect]));
}
