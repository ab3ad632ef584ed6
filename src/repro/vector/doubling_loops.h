// The inner loops of a picture enlarged to twice its size by a bicubic filter, compiled once for
// each instruction set. Sums are double and taken in the order of the taps.
#pragma once

#include <cstddef>

namespace morva::vector {

inline constexpr std::size_t kDoublingTaps = 4;

// A pixel becomes two. The one before its middle reads from two pixels before it to one after, the
// one behind its middle from one before to two after.
struct DoublingTaps {
  double before[kDoublingTaps];
  double behind[kDoublingTaps];
};

struct DoublingLoops {
  // Both halves of n pixels of a row. Two pixels more must be there on either side.
  void (*double_pixels)(const float* row, std::size_t n, std::size_t channels,
                        const DoublingTaps& taps, float* out);

  // The sum of `count` rows by their weights, 1 to kDoublingTaps of them, `stride` apart.
  void (*weigh_rows)(const float* rows, std::size_t stride, const double* weights,
                     std::size_t count, std::size_t n, float* out);
};

// The table of the instruction set in use.
const DoublingLoops& doubling_loops();

namespace baseline {
const DoublingLoops& doubling_loops();
}
namespace avx2 {
const DoublingLoops& doubling_loops();
}
namespace avx512 {
const DoublingLoops& doubling_loops();
}

}  // namespace morva::vector
