// What every separable filter needs: half of a symmetric kernel, and where the samples beyond the
// ends of a line come from.
#pragma once

#include <cstddef>
#include <vector>

#include "image/filters.h"

namespace morva {

// A sigma up to here leaves samples as they are.
inline constexpr double kNoBlurSigma = 1e-15;

// Weights at distances 0 .. radius.
struct HalfKernel {
  std::vector<double> weights;
  std::size_t radius() const { return weights.size() - 1; }
};

// Throws std::logic_error for a kernel that correlate1d refuses.
HalfKernel half_of(const std::vector<double>& kernel);

HalfKernel gaussian_half(double sigma);

// The sample of 0 .. n - 1 that stands at index i of the extended line, or -1 for 0.0.
std::ptrdiff_t source_index(std::ptrdiff_t i, std::ptrdiff_t n, int mode);

// Where the samples at -radius .. n + radius - 1 come from, in units of `stride`; -1 for 0.0.
std::vector<std::ptrdiff_t> extended_line(std::size_t n, std::size_t radius, int mode,
                                          std::size_t stride);

}  // namespace morva
