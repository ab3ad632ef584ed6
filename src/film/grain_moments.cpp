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

vector::SilverMoments silver_moments(double sigma, double a, double n_cells, double shape) {
  double total = 0.0;
  for (const double weight : kWeights) total += 2.0 * weight;
  vector::SilverMoments grains;
  for (std::size_t i = 0; i < 8; ++i) {
    const double node = i < 4 ? -kNodes[i] : kNodes[7 - i];
    grains.rate[i] = elementary::exp(sigma * node - sigma * sigma / 2.0);
    grains.weight[i] = kWeights[i < 4 ? i : 7 - i] / total;
  }
  grains.q1 = 1.0 - elementary::exp(-a);
  grains.q2 = 1.0 - elementary::exp(-2.0 * a);
  grains.n_cells = n_cells;
  grains.shape = shape;
  return grains;
}

Moments grain_moments(float lambda, const vector::SilverMoments& grains) {
  Moments moments;
  vector::grain_loops().silver_moments(&lambda, 1, grains, &moments.mean, &moments.variance);
  return moments;
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
