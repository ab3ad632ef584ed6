// Three layers of q(0) pixels from light U0 to density U2 with base and fog. Where q(1) is set, U1 is a field of
// uneven development; q(2) tells what the layers do to each other.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

#include "hd_curve.hlsli"
#include "layers.hlsli"

float layer_density(uint layer, float light) {
  const int k = int(layer);
  const float exposure =
      (log_exposure(light) + P[neg_color_layout::kEv]) + P[neg_color_layout::kLayerEv + k];
  return density_at(neg_color_layout::kCurves + k * curve_layout::kNumbers,
                    exposure * P[neg_color_layout::kSign]);
}

float3 developed_unevenly(float3 density, float field) {
  const float3 fog = three_at(neg_color_layout::kFog);
  return (field * three_at(neg_color_layout::kUneven) + 1.0) * (density - fog) + fog;
}

float3 coupled(float3 density) {
  if (q(2) == neg_color_layout::kMixes)
    return with_mixed_differences(neg_color_layout::kMatrix, density);
  if (q(2) == neg_color_layout::kWidens)
    return with_wider_differences(P[neg_color_layout::kWiden], density);
  return density;
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  float3 density;
  for (uint k = 0; k < 3; ++k) density[k] = layer_density(k, U0[at + k]);
  if (q(1) != 0) density = developed_unevenly(density, U1[id]);
  const float3 mid = three_at(neg_color_layout::kMid);
  density = coupled(density - mid);
  density = (density + layer_mean(density) * P[neg_color_layout::kSilver]) + mid;
  for (uint c = 0; c < 3; ++c) U2[at + c] = density[c];
}
