// The inner loop of the wide Gaussian, compiled once for each instruction set. Vectors run over
// lines that are filtered side by side, so every set computes the same bits.
#pragma once

#include <cstddef>

#include "image/vector/filter_loops.h"

namespace morva::vector {

// A kernel as a sum of cosines of the distance, cut at the radius R. Term j is weight_j cos(w_j k).
struct CosineKernel {
  static constexpr std::size_t kTerms = 14;
  double curvature[kTerms];  // 2 - 2 cos(w)
  double at_edge[kTerms];    // weight * cos(w R)
  double past_edge[kTerms];  // weight * cos(w (R + 1))
};

struct WideGaussianLoops {
  // Filters kLanes lines of n samples, which do not overlap `out`. The end samples continue past
  // the ends.
  void (*filter)(const LaneFloats* line, std::size_t n, std::size_t radius,
                 const CosineKernel& kernel, LaneFloats* out);
};

// The table of the instruction set in use.
const WideGaussianLoops& wide_gaussian_loops();

namespace baseline {
const WideGaussianLoops& wide_gaussian_loops();
}
namespace avx2 {
const WideGaussianLoops& wide_gaussian_loops();
}
namespace avx512 {
const WideGaussianLoops& wide_gaussian_loops();
}

}  // namespace morva::vector
