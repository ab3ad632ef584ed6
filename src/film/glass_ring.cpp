#include "film/glass_ring.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "image/convolution.h"
#include "image/elementary.h"
#include "image/resample.h"

namespace morva {

namespace {

using std::numbers::pi;
constexpr int kAngles = 20000;
constexpr double kSteepestTangent = 4.0;
constexpr double kReachInThicknesses = 2.0 * kSteepestTangent;
constexpr double kBlockInThicknesses = 0.0625;

// Radial density of the returned light: g(r) in 1/mm at rising distances r in mm.
struct RadialDensity {
  std::vector<double> r_mm;
  std::vector<double> g;
};

// Derivative of C over unevenly spaced r, second order inside, first order at both ends.
std::vector<double> derivative(const std::vector<double>& c, const std::vector<double>& r) {
  const std::size_t last = c.size() - 1;
  std::vector<double> d(c.size());
  d[0] = (c[1] - c[0]) / (r[1] - r[0]);
  d[last] = (c[last] - c[last - 1]) / (r[last] - r[last - 1]);
  for (std::size_t i = 1; i < last; ++i) {
    const double before = r[i] - r[i - 1];
    const double after = r[i + 1] - r[i];
    d[i] = (before * before * c[i + 1] + (after * after - before * before) * c[i] -
            after * after * c[i - 1]) /
           (before * after * (before + after));
  }
  return d;
}

// A Lambertian emulsion sends 2 sin cos dtheta of its light into a ring of angles; what the far
// face reflects of it lands at 2 t tan(theta).
RadialDensity radial_density(double glass_mm, double n) {
  RadialDensity density;
  density.r_mm.resize(kAngles);
  std::vector<double> cumulative(kAngles);
  const double step = elementary::atan(kSteepestTangent) / (kAngles - 1);
  double previous = 0.0;
  for (int i = 0; i < kAngles; ++i) {
    const double theta = step * i;
    const double sine = elementary::sin(theta);
    const double cosine = elementary::cos(theta);
    const double energy = glass_reflectance(theta, n) * 2.0 * sine * cosine;
    density.r_mm[i] = 2.0 * glass_mm * elementary::tan(theta);
    cumulative[i] = i == 0 ? 0.0 : cumulative[i - 1] + 0.5 * (energy + previous) * step;
    previous = energy;
  }
  density.g = derivative(cumulative, density.r_mm);
  return density;
}

double interpolate(const RadialDensity& density, double r) {
  const auto above = std::upper_bound(density.r_mm.begin(), density.r_mm.end(), r);
  const std::size_t i = static_cast<std::size_t>(above - density.r_mm.begin());
  if (above == density.r_mm.end()) return r == density.r_mm.back() ? density.g.back() : 0.0;
  const double t = (r - density.r_mm[i - 1]) / (density.r_mm[i] - density.r_mm[i - 1]);
  return density.g[i - 1] + (density.g[i] - density.g[i - 1]) * t;
}

std::vector<double> ring_kernel(double glass_mm, double n, double pitch_mm, int half) {
  const RadialDensity density = radial_density(glass_mm, n);
  const double reach_mm = kReachInThicknesses * glass_mm;
  const double area = pitch_mm * pitch_mm;
  const int side = 2 * half + 1;
  std::vector<double> kernel(static_cast<std::size_t>(side) * side);
  for (int y = -half; y <= half; ++y) {
    for (int x = -half; x <= half; ++x) {
      const double r = pitch_mm * std::sqrt(static_cast<double>(x * x + y * y));
      if (r > reach_mm) continue;
      kernel[(y + half) * side + x + half] =
          interpolate(density, r) / (std::max(0.5 * pitch_mm, r) * 2.0 * pi) * area;
    }
  }
  kernel[half * side + half] = glass_reflectance(0.0, n) / (4.0 * pi * glass_mm * glass_mm) * area;
  return kernel;
}

// Means of block x block pixels; what a block lacks at the right and bottom counts as dark.
Image block_means(const Image& mask, int block) {
  Image reduced((mask.h - 1) / block + 1, (mask.w - 1) / block + 1, 1);
  std::vector<double> sums(reduced.data.size());
  for (int y = 0; y < mask.h; ++y)
    for (int x = 0; x < mask.w; ++x)
      sums[static_cast<std::size_t>(y / block) * reduced.w + x / block] += mask.at(y, x);
  const double area = static_cast<double>(block) * block;
  for (std::size_t i = 0; i < sums.size(); ++i)
    reduced.data[i] = static_cast<float>(sums[i] / area);
  return reduced;
}

// A block as large as the picture: all its light comes back evenly, by the kernel's centre.
Image lit_evenly(const Image& mask, double pixel_um, double glass_mm, double n) {
  double sum = 0.0;
  for (const float light : mask.data) sum += light;
  const double pixels_per_glass = pixel_um / 1000.0 / glass_mm;
  const double returned =
      glass_reflectance(0.0, n) / (4.0 * pi) * pixels_per_glass * pixels_per_glass;
  return Image(mask.h, mask.w, 1, static_cast<float>(sum * returned));
}

Image cropped(const Image& image, int height, int width) {
  Image out(height, width, 1);
  for (int y = 0; y < height; ++y)
    std::copy_n(&image.data[static_cast<std::size_t>(y) * image.w], width,
                &out.data[static_cast<std::size_t>(y) * width]);
  return out;
}

}  // namespace

double glass_reflectance(double theta, double n) {
  const double s = n * elementary::sin(theta);
  if (s >= 1.0) return 1.0;
  const double c = elementary::cos(theta);
  const double c_t = std::sqrt(std::clamp(1.0 - s * s, 0.0, 1.0));
  const double across = (n * c - c_t) / (n * c + c_t);
  const double along = (n * c_t - c) / (n * c_t + c);
  return 0.5 * (across * across + along * along);
}

Image glass_ring(const Image& mask, double px_um, double glass_mm, double n) {
  const double pixel_um = std::max(px_um, 1e-6);
  const double block_px =
      std::max(std::floor(glass_mm * 1000.0 * kBlockInThicknesses / pixel_um), 1.0);
  if (block_px >= std::max(mask.h, mask.w)) return lit_evenly(mask, pixel_um, glass_mm, n);
  const double pitch_mm = block_px * pixel_um / 1000.0;
  const int half = static_cast<int>(std::ceil(kReachInThicknesses * glass_mm / pitch_mm));
  const std::vector<double> kernel = ring_kernel(glass_mm, n, pitch_mm, half);
  const int block = static_cast<int>(block_px);
  if (block == 1) return convolve_large(mask, kernel, half);
  const Image ring = convolve_large(block_means(mask, block), kernel, half);
  return cropped(pil_resize(ring, ring.w * block, ring.h * block, 0), mask.h, mask.w);
}

}  // namespace morva
