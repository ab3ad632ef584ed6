#include "film/grain_moments.h"

#include <algorithm>
#include <cstddef>
#include <numbers>

#include "image/elementary.h"
#include "image/error_function.h"

namespace morva {

namespace {

// Abscissas of the eight-point rule for the weight exp(-x^2 / 2), and weights up to a factor.
constexpr double kNodes[4] = {4.1445471861258945, 2.8024858612875416, 1.636519042435108,
                              0.5390798113513751};
constexpr double kWeights[4] = {0.00028228278602621435, 0.02415191518706137, 0.2938768674600929,
                                0.9350030718823198};

}  // namespace

RateQuadrature rate_quadrature(double sigma) {
  double total = 0.0;
  for (const double weight : kWeights) total += 2.0 * weight;
  RateQuadrature quadrature;
  for (std::size_t i = 0; i < 8; ++i) {
    const double node = i < 4 ? -kNodes[i] : kNodes[7 - i];
    quadrature.rate[i] = elementary::exp(sigma * node - sigma * sigma / 2.0);
    quadrature.weight[i] = kWeights[i < 4 ? i : 7 - i] / total;
  }
  return quadrature;
}

Moments grain_moments(double lambda, const GrainCells& cells, const RateQuadrature& quadrature) {
  double mean = 0.0, square_of_mean = 0.0, mean_square = 0.0;
  for (std::size_t i = 0; i < 8; ++i) {
    const double rate = quadrature.rate[i] * lambda;
    const double t1 = elementary::exp(-rate * cells.q1);
    const double t2 = elementary::exp(-rate * cells.q2);
    mean += quadrature.weight[i] * t1;
    square_of_mean += quadrature.weight[i] * (t1 * t1);
    mean_square += quadrature.weight[i] * t2;
  }
  // Grains of one sub-sample and the next are independent; their common rate is not.
  const double of_grains = std::max(mean_square - square_of_mean, 0.0) / cells.n_cells;
  const double of_rate = cells.shape * std::max(square_of_mean - mean * mean, 0.0);
  return {mean, of_grains + of_rate};
}

double disc_overlap(double pixel_um, double r_um) {
  const double p = pixel_um;
  const double b = p / (2.0 * r_um);
  const double line =
      ((elementary::exp(-b * b) - 1.0) * 4.0 * r_um * r_um +
       elementary::erf(b) * std::numbers::inv_sqrtpi * std::numbers::pi * 2.0 * p * r_um) /
      (p * p);
  const double bounded = std::clamp(line, 0.0, 1.0);
  return bounded * bounded;
}

}  // namespace morva
