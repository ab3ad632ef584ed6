// A positive of one silver layer: the light that passes q(0) pixels of density U0, in the tone of its silver and
// with the look of the stock, to three channels U1.
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
  const float silver = ten_to(P[positive_layout::kClear] - U0[id]);
  const float3 light =
      with_look(positive_layout::kLook, silver * three_at(positive_layout::kTone));
  for (uint c = 0; c < 3; ++c) U1[id * 3 + c] = held_to_sheet(light[c]);
}
