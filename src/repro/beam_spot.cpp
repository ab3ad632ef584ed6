#include "repro/beam_spot.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "image/error_function.h"
#include "image/filters.h"
#include "image/held.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

constexpr double kLeastLinePx = 2.0;  // the finest wave that pixels carry
constexpr double kLeastSpotPx = 0.3;
constexpr double kWidestSpot = 4.0;  // lines; long before that they have run into one another
constexpr double kReachSigmas = 4.0;
constexpr double kLeastMissPx = 0.25;

void add_row(const float* in, float weight, std::size_t n, float* sum) {
  for (std::size_t i = 0; i < n; ++i) sum[i] += weight * in[i];
}

// A line's share of row y: its stroke integrated over the row, in heights of a line.
double light_of_line(double centre_px, double sigma_px, int y, double line_px) {
  const double scale = 1.0 / (sigma_px * std::numbers::sqrt2);
  const double above = elementary::erf((y - centre_px) * scale);
  const double below = elementary::erf((y + 1 - centre_px) * scale);
  return 0.5 * (below - above) * line_px;
}

Image spread_down(const Image& picture, double sigma_px) {
  Image spread(picture.h, picture.w, picture.c);
  correlate1d(picture.data.data(), spread.data.data(), picture.h,
              static_cast<int>(picture.row_samples()), false,
              gaussian_kernel(sigma_px, gaussian_radius(sigma_px)), kBoundaryNearest);
  return spread;
}

// Channel k drawn larger by `growth` about the centre.
void scale_channel(Image& picture, int k, double growth) {
  const Image plane = extract_channel(picture, k);
  const auto places = [&](int n) {
    const double centre = (n - 1) / 2.0;
    std::vector<Between> from(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
      from[i] = between(static_cast<float>(centre + (i - centre) / (1.0 + growth)), n);
    return from;
  };
  const std::vector<Between> down = places(picture.h), along = places(picture.w);
  for (int y = 0; y < picture.h; ++y) {
    const float share = static_cast<float>(down[y].upper_share);
    const float* above = &plane.data[down[y].lower * plane.row_samples()];
    const float* below = &plane.data[down[y].upper * plane.row_samples()];
    float* out = &picture.at(y, 0, k);
    for (int x = 0; x < picture.w; ++x, out += picture.c) {
      const auto [left, right, right_part] = along[x];
      const float part = static_cast<float>(right_part);
      const float top = above[left] + part * (above[right] - above[left]);
      const float bottom = below[left] + part * (below[right] - below[left]);
      *out = top + share * (bottom - top);
    }
  }
}

}  // namespace

bool ScanRaster::resolved() const {
  return line_px() >= kLeastLinePx;
}

Image scan_lines(Image picture, const ScanRaster& raster) {
  if (!raster.resolved()) return picture;
  const double line_px = raster.line_px();
  const auto lines = static_cast<int>(std::ceil(raster.lines - 1e-9));
  Image signal(lines, picture.w, picture.c);
  for (int k = 0; k < lines; ++k) {
    const double top = k * line_px, bottom = std::min<double>((k + 1) * line_px, picture.h);
    float* sum = &signal.at(k, 0);
    for (int y = std::min(static_cast<int>(top), picture.h - 1); y < picture.h && y < bottom; ++y) {
      const double covered = std::min(bottom, y + 1.0) - std::max<double>(top, y);
      add_row(&picture.at(y, 0), static_cast<float>(covered / (bottom - top)),
              picture.row_samples(), sum);
    }
  }
  return signal;
}

Image draw_lines(Image signal, const ScanRaster& raster, double spot) {
  const double line_px = raster.line_px();
  const double sigma_px = std::max(kLeastSpotPx, held(spot, 0.0, kWidestSpot) * line_px);
  if (!raster.resolved()) return spread_down(signal, sigma_px);
  Image screen(raster.height_px, signal.w, signal.c);
  const double reach_px = kReachSigmas * sigma_px + 0.5;
  for (int y = 0; y < screen.h; ++y) {
    const auto first = static_cast<int>(std::floor((y + 0.5 - reach_px) / line_px));
    const auto last = static_cast<int>(std::floor((y + 0.5 + reach_px) / line_px));
    for (int k = first; k <= last; ++k)
      add_row(&signal.at(std::clamp(k, 0, signal.h - 1), 0),
              static_cast<float>(light_of_line((k + 0.5) * line_px, sigma_px, y, line_px)),
              screen.row_samples(), &screen.at(y, 0));
  }
  return screen;
}

void misconverge(Image& picture, double miss_px) {
  const double half_w = picture.w / 2.0, half_h = picture.h / 2.0;
  const double corner_px = std::sqrt(half_w * half_w + half_h * half_h);
  if (!(miss_px > 0.0)) return;
  const double miss = std::min(std::max(kLeastMissPx, miss_px), corner_px / 2.0);
  scale_channel(picture, 0, miss / corner_px);
  scale_channel(picture, 2, -miss / corner_px);
}

}  // namespace morva
