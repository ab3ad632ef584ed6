// The dyes of an instant sheet: q(0) pixels from light U0 to density U1 with base. q(1) is set where a dye absorbs
// its neighbours' light, q(2) where the dyes' differences are widened.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "hd_curve.hlsli"
#include "layers.hlsli"

float dye_density(uint layer, float light) {
  const float exposure = log_exposure(light) + P[instant_layout::kEv];
  return density_at(instant_layout::kCurves + int(layer) * curve_layout::kNumbers, -exposure);
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const uint at = id * 3;
  float3 density;
  for (uint k = 0; k < 3; ++k) density[k] = dye_density(k, U0[at + k]);
  if (q(1) != 0) {
    const float3 fog = three_at(instant_layout::kFog);
    density = mixed(instant_layout::kCrosstalk, density - fog) + fog;
  }
  if (q(2) != 0) {
    const float3 mid = three_at(instant_layout::kMid);
    density = with_wider_differences(P[instant_layout::kWiden], density - mid) + mid;
  }
  for (uint c = 0; c < 3; ++c) U1[at + c] = density[c];
}
