// A positive in hand: the light that passes q(0) pixels of density U0, with the look of the stock, to U1.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "logarithms.hlsli"
#include "layers.hlsli"
#include "look.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  float3 light;
  for (uint k = 0; k < 3; ++k) light[k] = ten_to(P[positive_layout::kClear] - U0[at + k]);
  light = with_look(positive_layout::kLook, light);
  for (uint c = 0; c < 3; ++c) U1[at + c] = held_to_sheet(light[c]);
}
