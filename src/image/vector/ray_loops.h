// The inner loop of the star filter, compiled once for each instruction set. Vectors run over
// outputs; each output takes its terms in order, so every set computes the same bits.
#pragma once

#include <cstddef>

namespace morva::vector {

// Neighbouring sources that throw their light in one pass over the sums. A row of taps has one zero
// fewer than this at either end.
inline constexpr std::size_t kRaySources = 4;

struct RayLoops {
  // sums[i] += taps[i + 3] * light[0], then taps[i + 2] * light[1] and so on, for i = 0 .. n - 1.
  // `taps` and `sums` do not overlap.
  void (*throw_light)(const double* taps, std::size_t n, const double* light, double* sums);
};

// The table of the instruction set in use.
const RayLoops& ray_loops();

namespace baseline {
const RayLoops& ray_loops();
}
namespace avx2 {
const RayLoops& ray_loops();
}
namespace avx512 {
const RayLoops& ray_loops();
}

}  // namespace morva::vector
