#include "image/edge_noise.h"

#include <algorithm>

#include "image/filters.h"
#include "image/pairwise_sum.h"

namespace morva {

namespace {

constexpr double kLeastDeviation = 1e-6;

}  // namespace

std::vector<float> noise_line(Rng& rng, std::size_t n, double sigma) {
  if (n == 0) return {};
  const double length = static_cast<double>(n);
  std::vector<float> line = rng.normals(n);
  line = gaussian_filter_line(line, sigma < length ? sigma : length, kBoundaryReflect);
  const MeanAndDeviation spread = mean_and_deviation(line.data(), n);
  const double deviation = std::max(kLeastDeviation, spread.deviation);
  for (float& value : line)
    value = static_cast<float>((static_cast<double>(value) - spread.mean) / deviation);
  return line;
}

}  // namespace morva
