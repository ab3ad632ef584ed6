#include "film/normal_deviate.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "film/vector/deviate_formula.h"
#include "film/vector/grain_loops.h"

namespace morva {

double normal_deviate(float u) {
  return elementary::formula::deviate_of(u);
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
