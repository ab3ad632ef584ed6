// Colour paper under a colour negative: q(0) pixels of density U0 to light U2.
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
  const uint at = id * 3;
  float3 light;
  for (uint k = 0; k < 3; ++k)
    light[k] = reflectance(U0[at + k], P[print_layout::kVeil + int(k)]);
  light = with_look(print_layout::kLook, light) * three_at(print_layout::kTone);
  for (uint c = 0; c < 3; ++c) U2[at + c] = held_to_sheet(light[c]);
}
