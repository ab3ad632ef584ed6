#include "image/wide_gaussian.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/vector/wide_gaussian_loops.h"

namespace morva {

namespace {

using vector::CosineKernel;
using vector::kLanes;
using vector::LaneFloats;

constexpr double kNoBlurSigma = 1e-15;
constexpr double kPeriod = 12.0;            // of the cosine series, in sigmas
constexpr std::int64_t kWidestDirect = 64;  // radius, samples

// A Gaussian repeated every 12 sigmas differs from a single one by e^-32 within the cut at 4, and
// its Fourier series (Poisson summation) has fallen to 1e-12 after 14 terms. Summed within the cut
// by running sums: Sugimoto and Kamata 2013; Charalampidis 2016.
CosineKernel cosine_kernel(double sigma, std::int64_t radius) {
  constexpr double pi = std::numbers::pi;
  const double half_step = pi / (kPeriod * sigma);  // half the first frequency
  const auto r = static_cast<double>(radius);
  double weight[CosineKernel::kTerms];
  double total = 0.0;
  for (std::size_t j = 0; j < CosineKernel::kTerms; ++j) {
    const auto n = static_cast<double>(j);
    const double decay = 2.0 * pi * pi * n * n / (kPeriod * kPeriod);
    weight[j] = j == 0 ? 0.5 : elementary::exp(-decay);
    // The sum of cos(2 a k) over k = -r .. r (Dirichlet).
    const double window =
        j == 0 ? 2.0 * r + 1.0
               : elementary::sin((2.0 * r + 1.0) * n * half_step) / elementary::sin(n * half_step);
    total += weight[j] * window;
  }
  CosineKernel kernel;
  for (std::size_t j = 0; j < CosineKernel::kTerms; ++j) {
    const double half = static_cast<double>(j) * half_step;
    const double s = elementary::sin(half);
    kernel.curvature[j] = 4.0 * s * s;
    kernel.at_edge[j] = weight[j] / total * elementary::cos(2.0 * half * r);
    kernel.past_edge[j] = weight[j] / total * elementary::cos(2.0 * half * (r + 1.0));
  }
  return kernel;
}

// Lines side by side and what comes of them.
struct LineBlock {
  explicit LineBlock(std::int32_t n) : in(static_cast<std::size_t>(n)), out(in.size()) {}
  void filter(const CosineKernel& kernel, std::int64_t radius) {
    vector::wide_gaussian_loops().filter(in.data(), in.size(), static_cast<std::size_t>(radius),
                                         kernel, out.data());
  }
  std::vector<LaneFloats> in, out;
};

// A whole block is copied by a length that the compiler knows.
void copy_lanes(const float* from, std::size_t lanes, float* to) {
  if (lanes == kLanes)
    std::copy_n(from, kLanes, to);
  else
    std::copy_n(from, lanes, to);
}

void filter_columns(Image& image, const CosineKernel& kernel, std::int64_t radius) {
  const std::size_t row_samples = image.row_samples();
  LineBlock block(image.h);
  for (std::size_t x = 0; x < row_samples; x += kLanes) {
    const std::size_t lanes = std::min(kLanes, row_samples - x);
    float* first = image.data.data() + x;
    for (std::size_t y = 0; y < block.in.size(); ++y)
      copy_lanes(first + y * row_samples, lanes, block.in[y].at);
    block.filter(kernel, radius);
    for (std::size_t y = 0; y < block.out.size(); ++y)
      copy_lanes(block.out[y].at, lanes, first + y * row_samples);
  }
}

void filter_rows(Image& image, const CosineKernel& kernel, std::int64_t radius) {
  const std::size_t row_samples = image.row_samples();
  const auto step = static_cast<std::size_t>(image.c);
  const auto rows = static_cast<std::size_t>(image.h);
  LineBlock block(image.w);
  for (std::size_t y = 0; y < rows; y += kLanes) {
    const std::size_t lanes = std::min(kLanes, rows - y);
    for (std::size_t k = 0; k < step; ++k) {
      float* first = image.data.data() + y * row_samples + k;
      for (std::size_t x = 0; x < block.in.size(); ++x)
        for (std::size_t l = 0; l < lanes; ++l)
          block.in[x].at[l] = first[l * row_samples + x * step];
      block.filter(kernel, radius);
      for (std::size_t x = 0; x < block.out.size(); ++x)
        for (std::size_t l = 0; l < lanes; ++l)
          first[l * row_samples + x * step] = block.out[x].at[l];
    }
  }
}

}  // namespace

Image wide_gaussian_filter(Image image, double sigma) {
  if (sigma <= kNoBlurSigma || image.data.empty()) return image;
  const std::int64_t radius = gaussian_radius(sigma);
  const CosineKernel kernel = cosine_kernel(sigma, radius);
  filter_columns(image, kernel, radius);
  filter_rows(image, kernel, radius);
  return image;
}

Image blur_full_size(Image plane, double sigma) {
  if (sigma <= kNoBlurSigma) return plane;
  if (gaussian_radius(sigma) <= kWidestDirect)
    return gaussian_filter(plane, sigma, kBoundaryNearest);
  return wide_gaussian_filter(std::move(plane), sigma);
}

}  // namespace morva
