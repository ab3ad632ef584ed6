// Mean and variance of a pixel's transmission where its grains are far smaller than the pixel, in
// closed form: Poisson grains of a lognormal rate.
#pragma once

#include "film/vector/grain_loops.h"

namespace morva {

// Grains whose rate has the deviation `sigma` in its logarithm, taken at eight points after Gauss
// and Hermite. A grain blocks the part `a` of its sub-sample, of which a pixel has `n_cells`;
// `shape` is disc_overlap.
vector::SilverMoments silver_moments(double sigma, double a, double n_cells, double shape);

struct Moments {
  double mean;
  double variance;
};

// For an expected number `lambda` of grains in a sub-sample.
Moments grain_moments(float lambda, const vector::SilverMoments& grains);

// Mean correlation, over a square pixel of side `pixel_um`, of a field whose correlation is a
// Gaussian of reach `r_um`; 0 .. 1.
double disc_overlap(double pixel_um, double r_um);

}  // namespace morva
