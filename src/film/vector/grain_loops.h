// The inner loops of the growth grain, compiled once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morva::vector {

// Rates from here on take the normal approximation, lower ones the distribution itself, of which so
// many terms are looked at.
inline constexpr float kNormalRate = 8.0f;
inline constexpr int kPoissonTerms = 20;

// A pixel of `n_cells` sub-samples, `q1` = 1 - exp(-a) and `q2` = 1 - exp(-2a) of a grain that
// blocks the part a of its sub-sample; `shape` is how far its rate is common to the pixel. The rate
// has unit mean and stands at eight points.
struct SilverMoments {
  double rate[8];
  double weight[8];
  double q1;
  double q2;
  double n_cells;
  double shape;
};

struct GrainLoops {
  // The mean number of grains: x = (exp(field * spread - shift) * exposed) * events.
  void (*rates)(const float* field, const float* exposed, std::size_t n, float spread, float shift,
                float events, float* x);

  // Poisson counts of the rates `x` by inversion of the uniforms `u`. Where single precision leaves
  // a count between two whole numbers open, `unsure` is 1; gives the number of such elements.
  std::size_t (*poisson)(const float* x, const float* u, std::size_t n, float* count,
                         std::uint8_t* unsure);

  // Adds the light that passes, exp(-(count * area)) and 10^-density.
  void (*add_silver_light)(const float* counts, std::size_t n, float area, double* sums);
  void (*add_dye_light)(const float* densities, std::size_t n, double* sums);

  // Sums and sums of squares, element i to number i mod 8.
  void (*add_moments)(const float* values, std::size_t n, double* sums, double* squares);

  // Mean and variance of a pixel's transmission where `lambda` grains are expected in a sub-sample.
  void (*silver_moments)(const float* lambda, std::size_t n, const SilverMoments& grains,
                         double* mean, double* variance);

  // Standard normal deviates of uniforms.
  void (*deviates)(const float* u, std::size_t n, double* z);
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
