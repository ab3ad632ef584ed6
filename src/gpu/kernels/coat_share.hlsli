// How much of a full coat lies near two edges of the sheet. Takes the table P.
#include "bounds.hlsli"
#include "logarithms.hlsli"
#include "process_layout.h"

// `d` pixels inside an edge, under a track of strength `s`. The brush reaches further where it holds more, thins
// towards the edge, and there only its fuller tracks still wet the paper.
float coat_share(float d, float s) {
  const precise float reach = d + P[coat_layout::kFinger] * s;
  const float u = within(reach / P[coat_layout::kBand], 0.0, 1.0);
  if (u <= 0.0 || u >= 1.0) return u;
  const float thin = power(u, 0.7);
  const float wet = 1.0 + P[coat_layout::kDryness] * 1.6 * (1.0 - thin) * (s + 0.35);
  const float rim = within(reach * 0.7, 0.0, 1.0);
  return within(rim * thin * at_least(wet, 0.0), 0.0, 1.0);
}

// Pixels from the nearer end of the coat to place `i` of `n` in one of `tracks` lines of pixels.
float inside_edges(uint i, uint n, uint track, uint tracks) {
  const float centre = float(i) + 0.5;
  const float begins = P[coat_layout::kEdges + track];
  const float ends = P[coat_layout::kEdges + tracks + track];
  const precise float from_far = float(n) - centre - ends;
  const precise float from_near = centre - begins;
  return min(from_near, from_far);
}
