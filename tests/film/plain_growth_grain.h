// Grain by growth, plain: one sub-sample at a time and every field held whole, slow and easy to
// read. The engine's own is held against it, bit for bit.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/image.h"
#include "image/noise.h"
#include "image/pairwise_sum.h"
#include "image/vector/single_exponential.h"

namespace morva::plain {

// The z that a standard normal falls below with the chance u. In a tail of y standard deviations
// over the root of 2, erfc(y) is twice the tail's chance; log erfc is concave, so Newton's method
// finds y from any start.
inline double normal_deviate(float u) {
  const double chance = std::clamp(u, 1e-7f, 0.9999999f);
  const double log_tails = std::log(2.0 * std::min(chance, 1.0 - chance));
  double y = 0.0;
  for (int i = 0; i < 100; ++i) {
    const double tails = std::erfc(y);
    const double slope = -2.0 / std::sqrt(std::numbers::pi) * std::exp(-y * y) / tails;
    const double step = (std::log(tails) - log_tails) / slope;
    y -= step;
    if (std::fabs(step) < 1e-15) break;
  }
  return (chance < 0.5 ? -y : y) * std::sqrt(2.0);
}

// Grains that an expected count of x gives at the chance u: a normal law from 8 up, below it the
// cumulative chances that u has passed.
inline float poisson_inverse(float u, float x) {
  x = std::max(x, 1e-9f);
  if (x >= 8.0f) {
    const double mean = x;
    return static_cast<float>(
        std::max(0.0, std::nearbyint(mean + normal_deviate(u) * std::sqrt(mean))));
  }
  float chance = elementary::formula::single_exp(-x);
  float cumulative = chance;
  float count = 0.0f;
  for (int k = 0; k < 20; ++k) {
    if (cumulative < u) count += 1.0f;
    chance = (chance * x) * (1.0f / static_cast<float>(k + 1));
    cumulative += chance;
  }
  return count;
}

// Rows y0 up to y1 of the sub-samples and `pad` more on either side, negative ones included.
struct Strip {
  std::int64_t y0, y1, pad;
};

inline std::vector<Strip> strips_of(std::int64_t rows, double reach) {
  std::vector<Strip> strips;
  for (std::int64_t y0 = 0; y0 < rows; y0 += 1536)
    strips.push_back({y0, std::min(y0 + 1536, rows), static_cast<std::int64_t>(std::ceil(reach))});
  return strips;
}

// The lognormal rate of the padded strip: its mean is 1 and its logarithm deviates by sigma.
inline Image rates(const Strip& strip, std::int32_t width, const Key& key, double grain_px,
                   double sigma, bool counter) {
  Image rate = gaussian_noise_image(key, strip.y0 - strip.pad, strip.y1 + strip.pad, width,
                                    grain_px, counter);
  const std::size_t inner = static_cast<std::size_t>(strip.pad * width);
  const double deviation = standard_deviation(
      rate.data.data() + inner, static_cast<std::size_t>((strip.y1 - strip.y0) * width));
  const auto scale = static_cast<float>(sigma / std::max(1e-6, deviation));
  const auto shift = static_cast<float>(sigma * sigma / 2.0);
  for (float& g : rate.data) g = elementary::formula::single_exp(g * scale - shift);
  return rate;
}

// Transmission of each sub-sample of silver. `lambda` is the optical depth, ln(10) times the
// density; `sub_um` a sub-sample's side, `r_um` the reach of the rate's variations, `t` the grain's
// side, micrometres.
inline Image sim_bw(const Image& lambda, const Key& key, double sub_um, double t, double r_um,
                    double sigma, bool counter) {
  const double a = std::min((t / sub_um) * (t / sub_um), 1.0);
  const auto area = static_cast<float>(a);
  const auto k = static_cast<float>(1.0 / (1.0 - elementary::exp(-a)));
  const double grain_px = std::max(0.6, r_um / sub_um);
  Image transmission(lambda.h, lambda.w, 1);
  for (const Strip& strip : strips_of(lambda.h, 4.0 * grain_px)) {
    const Image rate = rates(strip, lambda.w, key, grain_px, sigma, counter);
    const std::size_t first = static_cast<std::size_t>(strip.y0 * lambda.w);
    const std::size_t padding = static_cast<std::size_t>(strip.pad * lambda.w);
    const std::size_t count = static_cast<std::size_t>((strip.y1 - strip.y0) * lambda.w);
    const std::vector<float> u = row_uniforms(key, strip.y0, count, counter);
    for (std::size_t i = 0; i < count; ++i) {
      const float expected = (rate.data[padding + i] * lambda.data[first + i]) * k;
      const float grains = poisson_inverse(u[i], expected);
      transmission.data[first + i] = elementary::formula::single_exp(-(grains * area));
    }
  }
  return transmission;
}

// Transmission of each sub-sample of one dye layer. `m_image` is the density above base, `unit` the
// density of one grain over a sub-sample, `cloud_um` the Gaussian radius of its dye cloud.
inline Image sim_color(const Image& m_image, const Key& key, double sub_um, double unit,
                       double cloud_um, double r_um, double sigma, bool counter) {
  const auto grains_per_density = static_cast<float>(1.0 / std::max(unit, 1e-4));
  const auto grain_density = static_cast<float>(unit);
  const double grain_px = std::max(0.6, r_um / sub_um);
  const double cloud_px = cloud_um / sub_um;
  Image transmission(m_image.h, m_image.w, 1);
  for (const Strip& strip : strips_of(m_image.h, 4.0 * std::max(grain_px, cloud_px))) {
    Image density = rates(strip, m_image.w, key, grain_px, sigma, counter);
    const std::vector<float> u = row_uniforms(key, strip.y0, density.data.size(), counter);
    for (std::int32_t y = 0; y < density.h; ++y) {
      const std::int64_t row = strip.y0 - strip.pad + y;
      const auto source =
          static_cast<std::int32_t>(std::clamp<std::int64_t>(row, 0, m_image.h - 1));
      for (std::int32_t x = 0; x < density.w; ++x) {
        const float expected = (density.at(y, x) * m_image.at(source, x)) * grains_per_density;
        const float chance = u[static_cast<std::size_t>(y) * density.row_samples() + x];
        density.at(y, x) = poisson_inverse(chance, expected) * grain_density;
      }
    }
    if (cloud_px > 0.05) density = gaussian_filter(density, cloud_px, kBoundaryReflect);
    for (std::int64_t y = strip.y0; y < strip.y1; ++y)
      for (std::int32_t x = 0; x < density.w; ++x)
        transmission.at(static_cast<std::int32_t>(y), x) = elementary::formula::single_exp10(
            -density.at(static_cast<std::int32_t>(y - strip.y0 + strip.pad), x));
  }
  return transmission;
}

// Means of whole blocks of ss x ss sub-samples; columns are summed first.
inline Image box_down(const Image& img, int ss) {
  Image means(img.h / ss, img.w / ss, 1);
  for (std::int32_t y = 0; y < means.h; ++y) {
    for (std::int32_t x = 0; x < means.w; ++x) {
      double sum = 0.0;
      for (int dx = 0; dx < ss; ++dx) {
        double column = 0.0;
        for (int dy = 0; dy < ss; ++dy)
          column += static_cast<double>(img.at(y * ss + dy, x * ss + dx));
        sum += column;
      }
      means.at(y, x) = static_cast<float>(sum / static_cast<double>(ss * ss));
    }
  }
  return means;
}

}  // namespace morva::plain
