// Density over one side of a picture of three channels that fades out across a line, q(0) high and q(1) wide.
#include "optics_layout.h"
#include "interface.hlsli"

static const float kLog2E = 1.44269504;

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

// Share of the full density at signed distance `d` below the line.
float density_share(float d) {
  const float t = clamp(0.5 - d / P[graduation_layout::kEdge], 0.0, 1.0);
  const float share = (3.0 - 2.0 * t) * t * t;
  const float depth = max(0.0, -d) / P[graduation_layout::kFading];
  const float far = P[graduation_layout::kFarShare];
  return share * (exp2(-(depth * depth) * kLog2E) * (1.0 - far) + far);
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint width = q(1);
  if (id >= q(0) * width) return;
  const float v = (float(id / width) - P[graduation_layout::kCentreY]) / P[graduation_layout::kHalfLong];
  const float u = (float(id % width) - P[graduation_layout::kCentreX]) / P[graduation_layout::kHalfLong];
  const precise float turned = v * P[graduation_layout::kCosine] - u * P[graduation_layout::kSine];
  const precise float below = turned - P[graduation_layout::kPosition];
  const float share = density_share(below);
  for (uint k = 0; k < 3; ++k) {
    const float stops = P[graduation_layout::kStops + k];
    U1[id * 3 + k] = U0[id * 3 + k] * exp2(-stops * share);
  }
}
