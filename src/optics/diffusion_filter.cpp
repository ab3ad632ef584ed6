#include "optics/diffusion_filter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "image/filters.h"
#include "image/pairwise_sum.h"
#include "optics/highlights.h"

namespace morva {

namespace {

constexpr double kLeastEffect = 1e-5;

double effect(const Json& filter, const char* key, double amount) {
  const double share = get_number(filter, key, 0.0) * amount;
  return share > kLeastEffect ? share : 0.0;
}

void add_bloom(Image& image, const Diffusion& d) {
  const auto share = static_cast<float>(d.bloom);
  for (std::int32_t k = 0; k < 3; ++k) {
    const Image glow = blur_plane(light_above(image, k, d.threshold), d.radius_px);
    float* sample = image.data.data() + k;
    for (std::size_t i = 0; i < glow.data.size(); ++i, sample += 3) *sample += share * glow.data[i];
  }
}

void add_haze(Image& image, const Diffusion& d) {
  const float contrast = d.contrast(), veil = d.veil(mean_luminance(image));
  for (float& sample : image.data) sample = sample * contrast + veil;
}

}  // namespace

Diffusion read_diffusion(const Json& filter, double amount, std::int32_t width_px) {
  return {effect(filter, "bloom", amount), effect(filter, "haze", amount),
          std::max(1.0, get_number(filter, "radius_frac", 0.04) * width_px),
          static_cast<float>(get_number(filter, "threshold", 0.6))};
}

// Sums row by row, so that a picture needs no plane in double.
double mean_luminance(const Image& image) {
  std::vector<double> row(static_cast<std::size_t>(image.w));
  std::vector<double> rows(static_cast<std::size_t>(image.h));
  const float* p = image.data.data();
  std::size_t finite = 0;
  for (double& row_sum : rows) {
    for (double& luminance : row) {
      const float y = (kLumaR * p[0] + kLumaG * p[1]) + kLumaB * p[2];
      const bool counts = std::isfinite(y);
      luminance = counts ? static_cast<double>(y) : 0.0;
      finite += counts ? 1 : 0;
      p += 3;
    }
    row_sum = pairwise_sum(row.data(), row.size());
  }
  const double sum = pairwise_sum(rows.data(), rows.size());
  return sum / static_cast<double>(std::max<std::size_t>(finite, 1));
}

Image apply_diffusion_filter(Image image, const Json& filter, double amount) {
  const Diffusion d = read_diffusion(filter, amount, image.w);
  if (d.bloom > 0.0) add_bloom(image, d);
  if (d.haze > 0.0) add_haze(image, d);
  return image;
}

}  // namespace morva
