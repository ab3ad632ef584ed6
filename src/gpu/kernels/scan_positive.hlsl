// A positive as a scanner reads it, q(0) pixels in place. Set where the scanner or the operator does it: q(1) flare,
// q(2) a black of its own, q(3) contrast, q(4) soft ends.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)

#include "hd_curve.hlsli"
#include "layers.hlsli"
#include "look.hlsli"

// What is darker than the scanner's Dmax drowns in it; the colour of the rest is kept.
float3 above_black(float3 light) {
  const float mean = layer_mean(light);
  const float kept = at_least(mean - P[scan_layout::kBlack], 0.0) / at_least(mean, 1e-9);
  return light * kept / P[scan_layout::kAboveBlack];
}

float with_soft_ends(float light) {
  float density = within(-log10_of(at_least(light, 1e-6)), 0.0, P[scan_layout::kDmax]);
  density = with_soft_end(scan_layout::kBlackEnd, density);
  density = with_soft_end(scan_layout::kWhiteEnd, density);
  return ten_to(-density);
}

float bent(float light) {
  if (q(3) != 0) light = power(within(light, 0.0, 1.0), P[scan_layout::kContrast]);
  return q(4) != 0 ? with_soft_ends(light) : light;
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  float3 light = float3(U0[at], U0[at + 1], U0[at + 2]);
  if (q(1) != 0) light = (light + P[scan_layout::kFlare]) / P[scan_layout::kFlaredWhite];
  if (q(2) != 0) light = above_black(light);
  light *= P[scan_layout::kGain];
  for (uint c = 0; c < 3; ++c) U0[at + c] = held_to_sheet(bent(light[c]));
}
