// Mean and variance of a pixel's transmission where its grains are far smaller than the pixel, in
// closed form: Poisson grains of a lognormal rate.
#pragma once

#include <array>

namespace morva {

// Eight points of the rate of unit mean, exp(node * sigma - sigma^2 / 2), and their weights, which
// sum to 1: Gauss and Hermite's rule for a standard normal.
struct RateQuadrature {
  std::array<double, 8> rate;
  std::array<double, 8> weight;
};
RateQuadrature rate_quadrature(double sigma);

// A pixel of `n_cells` sub-samples, `q1` = 1 - exp(-a) and `q2` = 1 - exp(-2a) of a grain that
// blocks the part a of its sub-sample; `shape` is disc_overlap.
struct GrainCells {
  double q1 = 0.0;
  double q2 = 0.0;
  double n_cells = 1.0;
  double shape = 1.0;
};

struct Moments {
  double mean;
  double variance;
};

// `lambda` is the expected number of grains in a sub-sample times a.
Moments grain_moments(double lambda, const GrainCells& cells, const RateQuadrature& quadrature);

// Mean correlation, over a square pixel of side `pixel_um`, of a field whose correlation is a
// Gaussian of reach `r_um`; 0 .. 1.
double disc_overlap(double pixel_um, double r_um);

}  // namespace morva
