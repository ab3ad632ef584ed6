#include "image/pairwise_sum.h"

#include <cmath>

namespace morva {

namespace {

constexpr std::size_t kUnroll = 8;       // running sums in a block
constexpr std::size_t kBlockSize = 128;  // longer arrays are halved

// Sum of term(begin) .. term(begin + n - 1). The terms are made on the way, so no array of them
// exists.
template <typename Term>
double sum_terms(const Term& term, std::size_t begin, std::size_t n) {
  if (n < kUnroll) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += term(begin + i);
    return sum;
  }
  if (n > kBlockSize) {
    const std::size_t half = n / 2 - (n / 2) % kUnroll;
    return sum_terms(term, begin, half) + sum_terms(term, begin + half, n - half);
  }
  double r[kUnroll];
  for (std::size_t j = 0; j < kUnroll; ++j) r[j] = term(begin + j);
  std::size_t i = kUnroll;
  for (; i + kUnroll <= n; i += kUnroll)
    for (std::size_t j = 0; j < kUnroll; ++j) r[j] += term(begin + i + j);
  double sum = ((r[0] + r[1]) + (r[2] + r[3])) + ((r[4] + r[5]) + (r[6] + r[7]));
  for (; i < n; ++i) sum += term(begin + i);
  return sum;
}

}  // namespace

double pairwise_sum(const double* values, std::size_t n) {
  return sum_terms([values](std::size_t i) { return values[i]; }, 0, n);
}

double sum_from_first(const double* values, std::size_t n) {
  return n == 0 ? 0.0 : values[0] + pairwise_sum(values + 1, n - 1);
}

MeanAndDeviation mean_and_deviation(const float* values, std::size_t n) {
  if (n == 0) return {};
  const double count = static_cast<double>(n);
  const auto value = [values](std::size_t i) { return static_cast<double>(values[i]); };
  const double mean = sum_terms(value, 0, n) / count;
  const auto squared_deviation = [&value, mean](std::size_t i) {
    const double deviation = value(i) - mean;
    return deviation * deviation;
  };
  return {mean, std::sqrt(sum_terms(squared_deviation, 0, n) / count)};
}

double standard_deviation(const float* values, std::size_t n) {
  return mean_and_deviation(values, n).deviation;
}

}  // namespace morva
