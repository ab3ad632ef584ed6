// Standard normal deviates and Poisson counts from uniforms, by inversion of their distributions.
#pragma once

#include <cstddef>

namespace morva {

// sqrt(2) erfinv(2u - 1), u clamped to 1e-7 .. 0.9999999; within 2e-15.
double normal_deviate(float u);

// Poisson count of the rate x by inversion of u. From a rate of 8 on the normal approximation
// x + z sqrt(x), to the nearest whole number and at least 0; below it the number of the first 20
// terms of the distribution function that lie under u.
float poisson_inverse(float u, float x);

// The same for n rates.
void poisson_inverse(const float* u, const float* x, std::size_t n, float* count);

}  // namespace morva
