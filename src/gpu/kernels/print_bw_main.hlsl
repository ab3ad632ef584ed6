// Black-and-white paper under one plane of density: q(0) pixels of U0 to light U2 of three channels.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(2)

#include "paper.hlsli"
#include "layers.hlsli"
#include "look.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float3 light = reflectance(U0[id], P[print_layout::kVeil]) * three_at(print_layout::kTone);
  for (uint c = 0; c < 3; ++c) U2[id * 3 + c] = held_to_sheet(light[c]);
}
