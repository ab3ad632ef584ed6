#include "gpu/stages/wide_gaussian.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/resample_pass.h"

namespace morva::gpu {

namespace {

constexpr std::int64_t kWidestDirect = 128;    // radius, px: the reach of the tiled kernels
constexpr double kMostReducedSigma = 31.0;     // px, within that reach
constexpr double kResizeVariance = 1.0 / 3.0;  // of reducing and enlarging, in reduced pixels^2
constexpr std::int32_t kMargin = 2;  // reduced pixels beyond each end; the last holds the end alone

// One axis of n pixels and its reduced copy, which goes on beyond the ends of the picture.
struct ReducedAxis {
  std::int32_t n;
  std::int32_t scale;  // pixels in a reduced one

  std::int32_t reduced() const { return (n + scale - 1) / scale + 2 * kMargin; }
};

// A triangle two reduced pixels wide about each; its part beyond an end weighs the end sample. As
// the scale is whole, every pixel counts alike, wherever it lies between the reduced ones.
Taps reducing(const ReducedAxis& axis) {
  Taps taps(axis.reduced(), 2 * word(axis.scale) + 1);
  for (std::int32_t j = 0; j < axis.reduced(); ++j) {
    const double centre = (j - kMargin + 0.5) * axis.scale - 0.5;
    const auto low = static_cast<std::int32_t>(std::ceil(centre - axis.scale));
    const auto high = static_cast<std::int32_t>(std::floor(centre + axis.scale));
    const std::int32_t first = std::clamp(low, 0, axis.n - 1);
    std::vector<double> weights(static_cast<std::size_t>(std::clamp(high, 0, axis.n - 1) - first) +
                                1);
    double total = 0.0;
    for (std::int32_t i = low; i <= high; ++i) {
      const double weight = 1.0 - std::fabs(i - centre) / axis.scale;
      weights[static_cast<std::size_t>(std::clamp(i, 0, axis.n - 1) - first)] += weight;
      total += weight;
    }
    for (double& weight : weights) weight /= total;
    taps.set(j, first, weights.data(), static_cast<std::int32_t>(weights.size()));
  }
  return taps;
}

// Between neighbours, on a line.
Taps enlarging(const ReducedAxis& axis) {
  Taps taps(axis.n, 2);
  for (std::int32_t i = 0; i < axis.n; ++i) {
    const double position = (i + 0.5) / axis.scale - 0.5 + kMargin;
    const double lower = std::floor(position);
    const double weights[] = {1.0 - (position - lower), position - lower};
    taps.set(i, static_cast<std::int32_t>(lower), weights, 2);
  }
  return taps;
}

Plane new_plane(Device& device, std::int32_t h, std::int32_t w) {
  return plane_of(device.image(h, w, 1));
}

void blur_reduced(Device& device, const Plane& from, const Plane& to, double sigma) {
  const auto scale = static_cast<std::int32_t>(std::ceil(sigma / kMostReducedSigma));
  const double reduced_sigma = sigma / scale;
  const ReducedAxis x = {from.width, scale}, y = {from.height, scale};
  const Plane narrow = new_plane(device, from.height, x.reduced());
  const Plane small = new_plane(device, y.reduced(), x.reduced());
  resample(device, Kernel::resample_h, from, narrow, reducing(x));
  resample(device, Kernel::resample_v, narrow, small, reducing(y));
  gaussian_filter(device, small, small, std::sqrt(reduced_sigma * reduced_sigma - kResizeVariance),
                  kBoundaryNearest);
  resample(device, Kernel::resample_v, small, narrow, enlarging(y));
  resample(device, Kernel::resample_h, narrow, to, enlarging(x));
}

}  // namespace

void blur_full_size(Device& device, const Plane& from, const Plane& to, double sigma) {
  if (gaussian_radius(sigma) <= kWidestDirect)
    gaussian_filter(device, from, to, sigma, kBoundaryNearest);
  else
    blur_reduced(device, from, to, sigma);
}

}  // namespace morva::gpu
