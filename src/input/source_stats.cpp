#include "input/source_stats.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "image/image.h"
#include "image/resample.h"
#include "input/bounded_light.h"

namespace morva {

namespace {

constexpr std::int32_t kLongestSide = 1024;

Image luminance(const float* rgb, std::int32_t width, std::int32_t height) {
  Image plane(height, width, 1);
  for (float& value : plane.data) {
    value = bounded_light(rgb[1]) * kLumaG + bounded_light(rgb[0]) * kLumaR +
            bounded_light(rgb[2]) * kLumaB;
    rgb += 3;
  }
  return plane;
}

Image reduced(Image plane) {
  const std::int32_t longest = std::max(plane.h, plane.w);
  if (longest <= kLongestSide) return plane;
  const auto side = [longest](std::int32_t full) {
    const double scaled = std::nearbyint(static_cast<double>(full) * kLongestSide / longest);
    return std::max(1, static_cast<std::int32_t>(scaled));
  };
  return pil_resize(plane, side(plane.w), side(plane.h), kResizeBox);
}

// Reorders `values`.
double percentile(std::vector<float>& values, double percent) {
  const std::size_t last = values.size() - 1;
  const double place = std::floor(percent / 100.0 * static_cast<double>(last));
  const auto at =
      values.begin() + static_cast<std::ptrdiff_t>(std::min(last, static_cast<std::size_t>(place)));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

double bounded_gain(double gain) {
  return std::clamp(gain, 0.25, 64.0);
}

}  // namespace

SourceStats source_stats(const float* rgb, std::int32_t width, std::int32_t height) {
  Image sample = reduced(luminance(rgb, width, height));
  return {sample.w, sample.h, percentile(sample.data, 10.0), percentile(sample.data, 50.0),
          percentile(sample.data, 99.5)};
}

double source_gain(std::string_view mode, const SourceStats& stats) {
  constexpr double kBlack = 1e-6;
  if (mode == "as_shot") return 1.44;
  const double by_median = stats.p50 > kBlack ? bounded_gain(0.15 / stats.p50) : 1.0;
  if (mode == "highlights" && stats.p995 > kBlack)
    return bounded_gain(std::min(by_median, 0.9 / stats.p995));
  if (mode == "shadows" && stats.p10 > kBlack)
    return bounded_gain(std::max(by_median, 0.045 / stats.p10));
  return by_median;
}

}  // namespace morva
