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

struct Diffusion {
  double bloom;      // share of the light above the threshold that spreads
  double haze;       // share of the mean luminance that lies over the picture
  double radius_px;  // sigma of the bloom
  float threshold;   // linear level
};

Diffusion read_diffusion(const Json& filter, double amount, std::int32_t width_px) {
  return {get_number(filter, "bloom", 0.0) * amount, get_number(filter, "haze", 0.0) * amount,
          std::max(1.0, get_number(filter, "radius_frac", 0.04) * width_px),
          static_cast<float>(get_number(filter, "threshold", 0.6))};
}

void add_bloom(Image& image, const Diffusion& d) {
  const auto share = static_cast<float>(d.bloom);
  for (std::int32_t k = 0; k < 3; ++k) {
    const Image glow = blur_plane(light_above(image, k, d.threshold), d.radius_px);
    float* sample = image.data.data() + k;
    for (std::size_t i = 0; i < glow.data.size(); ++i, sample += 3) *sample += share * glow.data[i];
  }
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

void add_haze(Image& image, double haze) {
  const auto contrast = static_cast<float>(1.0 - haze / 2.0);
  const auto veil = static_cast<float>(mean_luminance(image) * haze);
  for (float& sample : image.data) sample = sample * contrast + veil;
}

}  // namespace

Image apply_diffusion_filter(Image image, const Json& filter, double amount) {
  const Diffusion d = read_diffusion(filter, amount, image.w);
  if (d.bloom > kLeastEffect) add_bloom(image, d);
  if (d.haze > kLeastEffect) add_haze(image, d.haze);
  return image;
}

}  // namespace morva
