// Pairwise summation in the order of numpy.sum. Its rounding error grows with log n instead of n,
// and the film constants were fitted on sums taken in this very order, so the order is part of the
// result.
#pragma once

#include <cstddef>

namespace morva {

// Blocks of up to 128 elements in eight running sums, halves of longer arrays added in pairs. 0 for
// n = 0.
double pairwise_sum(const double* values, std::size_t n);

// The order of a reduction that starts from the first element: that one plus the pairwise sum of
// the rest.
double sum_from_first(const double* values, std::size_t n);

struct MeanAndDeviation {
  double mean = 0.0;
  double deviation = 0.0;
};

// The mean and the standard deviation about it, divisor n, in double; both sums are pairwise. 0 for
// n = 0.
MeanAndDeviation mean_and_deviation(const float* values, std::size_t n);

double standard_deviation(const float* values, std::size_t n);

}  // namespace morva
