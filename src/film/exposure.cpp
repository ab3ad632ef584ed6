#include "film/exposure.h"

#include <algorithm>

#include "image/elementary.h"
#include "profiles/hd_curve.h"

namespace morva {

float exposure_shift(double ev) {
  return static_cast<float>(ev * kLog10Stop);
}

void log_exposure(const float* in, float* out, std::size_t n, double ev) {
  constexpr float mid_grey = 0.18f;
  constexpr float floor_of_black = 1e-6f;
  constexpr std::size_t chunk = 2048;
  const float shift = exposure_shift(ev);
  for (std::size_t start = 0; start < n; start += chunk) {
    const std::size_t count = std::min(chunk, n - start);
    float* x = out + start;
    for (std::size_t i = 0; i < count; ++i)
      x[i] = std::max(0.0f, in[start + i]) / mid_grey + floor_of_black;
    elementary::log10f(x, x, count);
    for (std::size_t i = 0; i < count; ++i) x[i] += shift;
  }
}

}  // namespace morva
