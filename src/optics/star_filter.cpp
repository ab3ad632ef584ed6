#include "optics/star_filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "image/resample.h"
#include "optics/filter_values.h"
#include "optics/highlights.h"
#include "optics/star_kernel.h"

namespace morva {

namespace {

constexpr double kLeastStrength = 1e-5;
constexpr double kMostStrength = std::numeric_limits<float>::max();
constexpr double kMostLines = 100.0;
constexpr double kShortestPx = 3.0;
constexpr double kThinnestPx = 0.6;
constexpr double kWidestPx = 3.0;  // wider rays are drawn on a smaller raster
constexpr double kLambdaUm[] = {0.62, 0.55, 0.45};

struct Star {
  StarShape shape;  // length for green
  std::array<double, 3> strength;
  float threshold;  // linear level
  double dispersion;
};

// Two rays make a line.
int line_count(double rays) {
  return std::max(1, static_cast<int>(std::clamp(rays, 0.0, 2.0 * kMostLines)) / 2);
}

Star read_star(const Json& filter, double strength, double angle_deg, double long_px) {
  const std::array<double, 3> tint = channel_values(filter, "tint", {1.0, 1.0, 1.0});
  Star star;
  star.shape = {std::max(kShortestPx, get_number(filter, "length_frac", 0.14) * long_px),
                std::max(kThinnestPx, get_number(filter, "width_frac", 0.0015) * long_px),
                line_count(get_number(filter, "rays", 4.0)),
                turned_by(get_number(filter, "angle", 0.0), angle_deg),
                get_number(filter, "decay", 0.32)};
  for (int k = 0; k < 3; ++k) star.strength[k] = std::min(strength * tint[k], kMostStrength);
  star.threshold = static_cast<float>(get_number(filter, "threshold", 0.8));
  star.dispersion = get_number(filter, "dispersion", 1.0);
  return star;
}

StarShape shape_at_wavelength(const Star& star, std::int32_t k) {
  StarShape shape = star.shape;
  shape.length_px *= 1.0 + star.dispersion * (kLambdaUm[k] / kLambdaUm[1] - 1.0);
  return shape;
}

// Wide rays go through a raster on which they are `kWidestPx` wide.
Image throw_rays(const Image& light, StarShape shape) {
  if (shape.width_px <= kWidestPx) return spread_by_star(light, star_kernel(shape));
  const double reduction = shape.width_px / kWidestPx;
  const auto reduced = [reduction](std::int32_t size) {
    return static_cast<std::int32_t>(std::max(16.0, std::nearbyint(size / reduction)));
  };
  const std::int32_t w = reduced(light.w), h = reduced(light.h);
  const double scale = static_cast<double>(std::max(w, h)) / std::max(light.w, light.h);
  shape.length_px *= scale;
  shape.width_px *= scale;
  const Image small = pil_resize(light, w, h, kResizeTriangle);
  return pil_resize(spread_by_star(small, star_kernel(shape)), light.w, light.h, kResizeTriangle);
}

void move_light(Image& image, std::int32_t k, double strength, const Image& light,
                const Image& rays) {
  const auto s = static_cast<float>(strength);
  float* sample = image.data.data() + k;
  for (std::size_t i = 0; i < light.data.size(); ++i, sample += 3)
    if (light.data[i] != 0.0f || rays.data[i] != 0.0f)
      *sample = (*sample - s * light.data[i]) + s * rays.data[i];
}

bool any_light(const Image& plane) {
  return std::any_of(plane.data.begin(), plane.data.end(), [](float e) { return e > 0.0f; });
}

}  // namespace

Image apply_star_filter(Image image, const Json& filter, double angle_deg) {
  const double strength = get_number(filter, "strength", 0.3);
  if (strength <= kLeastStrength) return image;
  const Star star = read_star(filter, strength, angle_deg, std::max(image.h, image.w));
  bool shines = false;
  for (std::int32_t k = 0; k < 3; ++k) {
    const Image light = light_above(image, k, star.threshold);
    if (!any_light(light)) continue;
    shines = true;
    if (star.strength[k] <= kLeastStrength) continue;
    move_light(image, k, star.strength[k], light, throw_rays(light, shape_at_wavelength(star, k)));
  }
  if (shines)
    for (float& sample : image.data) sample = std::max(0.0f, sample);
  return image;
}

}  // namespace morva
