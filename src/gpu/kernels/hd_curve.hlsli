// The H&D curve of a film layer or a paper, from log exposure to density. Takes the table P.
#include "bounds.hlsli"
#include "film_layout.h"
#include "logarithms.hlsli"

// log10 of the exposure relative to a mid grey; black lies near -6.
float log_exposure(float light) { return log10_of(at_least(light, 0.0) / 0.18 + 1e-6); }

// By the curve whose numbers begin at P[at].
float density_at(int at, float exposure) {
  const float s = (exposure - P[at + curve_layout::kCentre]) * P[at + curve_layout::kSteepness];
  const float toe = exp2(within(s, -60.0, 60.0) * -1.44269504);  // e^-s
  const float share = exp2(-log2(1.0 + toe) * P[at + curve_layout::kExponent]);
  return P[at + curve_layout::kBase] + P[at + curve_layout::kRange] * share;
}

// A density with one end of the curve bent back by the square of the way to it.
float with_soft_end(int at, float density) {
  const float way = (density - P[at + soft_end_layout::kMid]) * P[at + soft_end_layout::kDirection] /
                    P[at + soft_end_layout::kRange];
  const float t = at_least(way, 0.0);
  return density - P[at + soft_end_layout::kBend] * t * t;
}
