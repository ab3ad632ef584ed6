// The inner loops of the growth grain, compiled once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morva::vector {

// Rates from here on take the normal approximation, lower ones the distribution itself, of which so
// many terms are looked at.
inline constexpr float kNormalRate = 8.0f;
inline constexpr int kPoissonTerms = 20;

struct GrainLoops {
  // The mean number of grains: x = (exp(field * spread - shift) * exposed) * events.
  void (*rates)(const float* field, const float* exposed, std::size_t n, float spread, float shift,
                float events, float* x);

  // Poisson counts of the rates `x` by inversion of the uniforms `u`. Where single precision leaves
  // a count between two whole numbers open, `unsure` is 1; gives the number of such elements.
  std::size_t (*poisson)(const float* x, const float* u, std::size_t n, float* count,
                         std::uint8_t* unsure);

  // exp(-(count * area)) and 10^-density, in place.
  void (*silver_transmission)(float* counts, std::size_t n, float area);
  void (*dye_transmission)(float* densities, std::size_t n);

  // sums[i] += row[i]
  void (*add_row)(const float* row, std::size_t n, double* sums);

  // Sums and sums of squares, element i to number i mod 8.
  void (*add_moments)(const float* values, std::size_t n, double* sums, double* squares);
};

// The table of the instruction set in use.
const GrainLoops& grain_loops();

namespace baseline {
const GrainLoops& grain_loops();
}
namespace avx2 {
const GrainLoops& grain_loops();
}
namespace avx512 {
const GrainLoops& grain_loops();
}

}  // namespace morva::vector
