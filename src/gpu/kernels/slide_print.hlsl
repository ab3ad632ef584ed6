// Direct-positive paper under a slide: q(0) pixels of the slide's light U0 to the paper's light U1. The slide is
// read over six decades. q(1) is set where the paper's dyes are purer or less pure than they are.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "hd_curve.hlsli"
#include "layers.hlsli"
#include "look.hlsli"

float paper_density(float slide) {
  const float light = log10_of(within(slide, 1e-6, 1.0));
  float density = density_at(slide_print_layout::kCurve, P[slide_print_layout::kExposure] - light);
  density = with_soft_end(slide_print_layout::kBlackEnd, density);
  return with_soft_end(slide_print_layout::kWhiteEnd, density);
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  float3 density;
  for (uint k = 0; k < 3; ++k) density[k] = paper_density(U0[at + k]);
  if (q(1) != 0) density = with_wider_differences(P[slide_print_layout::kWiden], density);
  const float white = P[slide_print_layout::kCurve + curve_layout::kBase];
  const float3 tone = three_at(slide_print_layout::kTone);
  for (uint c = 0; c < 3; ++c)
    U1[at + c] = held_to_sheet(ten_to(white - density[c]) * tone[c]);
}
