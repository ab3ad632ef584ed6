#include "image/half_kernel.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace morva {

HalfKernel half_of(const std::vector<double>& kernel) {
  const std::size_t radius = kernel.size() / 2;
  bool symmetric = kernel.size() % 2 == 1;
  for (std::size_t k = 1; symmetric && k <= radius; ++k)
    symmetric = !(std::fabs(kernel[radius + k] - kernel[radius - k]) >
                  std::numeric_limits<double>::epsilon());
  if (!symmetric) throw std::logic_error("correlate1d: ядро не симметрично");
  HalfKernel half;
  half.weights.resize(radius + 1);
  for (std::size_t k = 0; k <= radius; ++k) half.weights[k] = kernel[radius - k];
  return half;
}

HalfKernel gaussian_half(double sigma) {
  return half_of(gaussian_kernel(sigma, gaussian_radius(sigma)));
}

std::ptrdiff_t source_index(std::ptrdiff_t i, std::ptrdiff_t n, int mode) {
  if (i >= 0 && i < n) return i;
  if (mode == kBoundaryConstant) return -1;
  if (mode == kBoundaryNearest) return i < 0 ? 0 : n - 1;
  const std::ptrdiff_t period = mode == kBoundaryWrap ? n : 2 * n;
  std::ptrdiff_t phase = i % period;
  if (phase < 0) phase += period;
  return phase < n ? phase : period - 1 - phase;
}

std::vector<std::ptrdiff_t> extended_line(std::size_t n, std::size_t radius, int mode,
                                          std::size_t stride) {
  std::vector<std::ptrdiff_t> from(n + 2 * radius);
  for (std::size_t j = 0; j < from.size(); ++j) {
    const std::ptrdiff_t i =
        source_index(static_cast<std::ptrdiff_t>(j) - static_cast<std::ptrdiff_t>(radius),
                     static_cast<std::ptrdiff_t>(n), mode);
    from[j] = i < 0 ? -1 : i * static_cast<std::ptrdiff_t>(stride);
  }
  return from;
}

}  // namespace morva
