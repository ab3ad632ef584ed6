// One silver layer of q(0) pixels from light U0 to density U2 with base and fog. Where q(1) is set, U1 is a field
// of uneven development.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

#include "hd_curve.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0)) return;
  const float exposure = log_exposure(U0[id]) + P[neg_bw_layout::kEv];
  float density = density_at(neg_bw_layout::kCurve, exposure * P[neg_bw_layout::kSign]);
  if (q(1) != 0) {
    const float fog = P[neg_bw_layout::kFog];
    density = (U1[id] + 1.0) * (density - fog) + fog;
  }
  U2[id] = density;
}
