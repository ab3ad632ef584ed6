// The emulsion as an optical body: its own blur, the light that its base throws back, and the
// development effect along edges.
#pragma once

#include <vector>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Sigma in pixels of the emulsion's blur, from the film's spatial frequency of half response
// (`mtf.f50_cyc_mm`, cycles a millimetre); `px_um` is a pixel's size on the film in micrometres. 0
// where none is to be seen, below 0.18 pixels.
double emulsion_sigma_px(const Json& film, double px_um);

Image emulsion_blur(Image image, const Json& film, double px_um);

inline constexpr double kUnsaturated = 5.0;

// One edge effect of development: exhausted developer drifts across an edge, so that the dense side
// grows denser and the thin side thinner.
struct AdjacencyTerm {
  double k = 0.0;         // small-signal strength
  double sigma_px = 0.0;  // reach of the drift, pixels
  double sat = 0.0;  // density difference at which it saturates; from kUnsaturated up it does not
};

// The development's own term, then the film's, without those that are saturated by nothing. A
// film's term below one pixel is dropped; the development's is kept at the floor of 0.8 pixels.
std::vector<AdjacencyTerm> adjacency_terms(const Json& film, double px_um);

// Density in, density out, any channel count.
Image adjacency(Image density, const Json& film, double px_um);

}  // namespace morva
