#include "print/print_relief.h"

#include <algorithm>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/pairwise_sum.h"

namespace morva {

namespace {

// Light on the slopes, -1..1.
Image light_on_slopes(const Image& ink, const ReliefBlock& relief, double px_per_mm) {
  const double smooth_px = relief_smooth_px(relief, ink.w, ink.h, px_per_mm);
  Image q = slope_to_light(blur_plane(ink, smooth_px), relief.light);
  const float scale = light_per_slope(relief, standard_deviation(q.data.data(), q.data.size()));
  for (float& v : q.data) v *= scale;
  elementary::tanhf(q.data.data(), q.data.data(), q.data.size());
  return q;
}

}  // namespace

bool has_slopes(const ReliefBlock& relief) {
  return relief.amount > 1e-4;
}

bool shows(const ReliefBlock& relief) {
  return has_slopes(relief) || relief.sheen > 1e-5;
}

double relief_smooth_px(const ReliefBlock& relief, int w, int h, double px_per_mm) {
  const double most = static_cast<double>(std::max(w, h));
  return std::min(std::max(0.6, relief.smooth_mm * px_per_mm), most);
}

float light_per_slope(const ReliefBlock& relief, double deviation) {
  const double steep = std::max(relief.slope_floor, 3.0 * deviation);
  return static_cast<float>(relief.amount / steep);
}

Image slope_to_light(const Image& height, const std::array<double, 2>& light) {
  const auto light_x = static_cast<float>(light[0]);
  const auto light_y = static_cast<float>(light[1]);
  Image slope(height.h, height.w, 1);
  for (int y = 0; y < height.h; ++y) {
    const float* above = &height.data[static_cast<std::size_t>(std::max(y - 1, 0)) * height.w];
    const float* below =
        &height.data[static_cast<std::size_t>(std::min(y + 1, height.h - 1)) * height.w];
    const float* row = &height.data[static_cast<std::size_t>(y) * height.w];
    float* out = &slope.data[static_cast<std::size_t>(y) * height.w];
    for (int x = 0; x < height.w; ++x) {
      const float dx = (row[std::min(x + 1, height.w - 1)] - row[std::max(x - 1, 0)]) * 0.5f;
      const float dy = (below[x] - above[x]) * 0.5f;
      out[x] = -(light_x * dy + light_y * dx);
    }
  }
  return slope;
}

void light_relief(Image& print, const Image& ink, const ReliefBlock& relief, double px_per_mm) {
  if (!shows(relief)) return;
  const Image q =
      has_slopes(relief) ? light_on_slopes(ink, relief, px_per_mm) : Image(ink.h, ink.w, 1, 0.0f);
  const auto sheen = static_cast<float>(relief.sheen);
  const std::size_t width = static_cast<std::size_t>(ink.w);
  std::vector<float> gloss(width);
  for (int y = 0; y < ink.h; ++y) {
    const std::size_t first = static_cast<std::size_t>(y) * width;
    if (sheen > 0.0f) elementary::powf(&ink.data[first], kGlossPower, gloss.data(), width);
    float* p = &print.data[first * 3];
    for (std::size_t x = 0; x < width; ++x) {
      const float lit = 1.0f + q.data[first + x];
      const float back = sheen * gloss[x];
      for (int k = 0; k < 3; ++k, ++p) *p = std::clamp(*p * lit + back, 0.0f, 1.0f);
    }
  }
}

}  // namespace morva
