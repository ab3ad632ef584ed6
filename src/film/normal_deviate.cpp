#include "film/normal_deviate.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "film/vector/grain_loops.h"
#include "image/elementary.h"
#include "image/error_function.h"

namespace morva {

namespace {

constexpr double kInvSqrt2 = 0.70710678118654752440;
constexpr double kInvSqrt2Pi = 0.39894228040143267794;

// PPND7 for 1e-7 <= p <= 0.5; its third piece, for p below 1e-11, has no use here.
double rough_tail_deviate(double p) {
  const double q = 0.5 - p;
  if (q <= 0.425) {
    const double r = 0.180625 - q * q;
    return q * (((59.109374720 * r + 159.29113202) * r + 50.434271938) * r + 3.3871327179) /
           (((67.187563600 * r + 78.757757664) * r + 17.895169469) * r + 1.0);
  }
  const double r = std::sqrt(-elementary::log(p)) - 1.6;
  return (((0.17023821103 * r + 1.3067284816) * r + 2.7568153900) * r + 1.4234372777) /
         ((0.12021132975 * r + 0.73700164250) * r + 1.0);
}

// The z that a normal deviate passes with the chance p <= 1/2.
double tail_deviate(double p) {
  double z = rough_tail_deviate(p);
  for (int step = 0; step < 2; ++step) {
    const double chance = 0.5 * elementary::erfc(z * kInvSqrt2);
    const double density = kInvSqrt2Pi * elementary::exp(-0.5 * z * z);
    z += (chance - p) / density;
  }
  return z;
}

}  // namespace

double normal_deviate(float u) {
  const double p = static_cast<double>(std::clamp(u, 1e-7f, 0.9999999f));
  return p < 0.5 ? -tail_deviate(p) : tail_deviate(1.0 - p);
}

float poisson_inverse(float u, float x) {
  float count;
  poisson_inverse(&u, &x, 1, &count);
  return count;
}

void poisson_inverse(const float* u, const float* x, std::size_t n, float* count) {
  constexpr std::size_t kBlock = 1024;
  std::uint8_t unsure[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t size = std::min(kBlock, n - done);
    const std::size_t open =
        vector::grain_loops().poisson(x + done, u + done, size, count + done, unsure);
    if (open == 0) continue;
    for (std::size_t i = 0; i < size; ++i) {
      if (unsure[i] == 0 || x[done + i] < vector::kNormalRate) continue;
      const double rate = static_cast<double>(x[done + i]);
      const double value = rate + normal_deviate(u[done + i]) * std::sqrt(rate);
      count[done + i] = static_cast<float>(std::max(std::nearbyint(value), 0.0));
    }
  }
}

}  // namespace morva
