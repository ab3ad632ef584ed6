#include "optics/star_kernel.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

#include "image/convolution.h"
#include "image/elementary.h"

namespace morva {

namespace {

constexpr double kLargestRadius = 4096.0;
constexpr double kShortestDecay = 0.001;
constexpr double kExpReachesZero = 746.0;
constexpr double kMostDirectProducts = 3e9;  // more of them take longer than the transforms

struct Line {
  double cos_angle;
  double sin_angle;
};

std::vector<Line> star_lines(const StarShape& shape) {
  std::vector<Line> lines;
  for (int k = 0; k < shape.lines; ++k) {
    const double degrees = k * 180.0 / shape.lines + shape.angle_deg;
    const double radians = degrees * std::numbers::pi / 180.0;
    lines.push_back({elementary::cos(radians), elementary::sin(radians)});
  }
  return lines;
}

// How a ray falls off, in px.
struct RayProfile {
  double spread;  // 2 sigma^2 across
  double margin;  // where the fall across reaches zero
  double tau;     // decay along
  double length;
};

RayProfile ray_profile(const StarShape& shape) {
  const double spread = 2.0 * shape.width_px * shape.width_px;
  return {spread, std::sqrt(kExpReachesZero * spread),
          std::max(kShortestDecay, shape.length_px * shape.decay),
          static_cast<double>(static_cast<float>(shape.length_px))};
}

// Adds one line's light along the kernel row at height y.
void add_line(const Line& line, const RayProfile& ray, double y, std::vector<double>& row) {
  const auto radius = static_cast<std::int32_t>(row.size() / 2);
  double left = -radius, right = radius;
  if (std::fabs(line.sin_angle) > 1e-6) {
    const double centre = y * line.cos_angle / line.sin_angle;
    const double half = ray.margin / std::fabs(line.sin_angle) + 1.0;  // one column to spare
    left = std::clamp(centre - half, left, right);
    right = std::clamp(centre + half, left, right);
  }
  for (auto x = static_cast<std::int32_t>(left); x <= static_cast<std::int32_t>(right); ++x) {
    const double across = y * line.cos_angle - x * line.sin_angle;
    const double fall = across * across / ray.spread;
    if (fall > kExpReachesZero) continue;
    const double along = std::fabs(x * line.cos_angle + y * line.sin_angle);
    if (along > ray.length) continue;
    row[x + radius] += elementary::exp(-fall) * elementary::exp(-along / ray.tau);
  }
}

std::vector<StarKernel::Run> append_runs(const std::vector<double>& row,
                                         std::vector<double>& taps) {
  const auto radius = static_cast<std::int32_t>(row.size() / 2);
  std::vector<StarKernel::Run> runs;
  for (std::size_t x = 0; x < row.size();) {
    if (row[x] == 0.0) {
      ++x;
      continue;
    }
    std::size_t end = x;
    while (end < row.size() && row[end] != 0.0) ++end;
    runs.push_back({static_cast<std::int32_t>(x) - radius, taps.size(), end - x});
    taps.insert(taps.end(), row.begin() + static_cast<std::ptrdiff_t>(x),
                row.begin() + static_cast<std::ptrdiff_t>(end));
    x = end;
  }
  return runs;
}

struct LitPixel {
  std::int32_t x;
  double light;
};

std::vector<std::vector<LitPixel>> lit_pixels_by_row(const Image& light) {
  std::vector<std::vector<LitPixel>> rows(static_cast<std::size_t>(light.h));
  for (std::int32_t y = 0; y < light.h; ++y)
    for (std::int32_t x = 0; x < light.w; ++x)
      if (light.at(y, x) != 0.0f) rows[y].push_back({x, static_cast<double>(light.at(y, x))});
  return rows;
}

void add_run(const StarKernel& kernel, const StarKernel::Run& run, const LitPixel& pixel,
             std::vector<double>& sums) {
  const std::int32_t start = pixel.x + run.dx;
  const std::int32_t from = std::max(start, 0);
  const std::int32_t to = std::min(static_cast<std::int32_t>(sums.size()),
                                   start + static_cast<std::int32_t>(run.count));
  if (from >= to) return;
  const double* tap = kernel.taps.data() + run.first + (from - start);
  double* sum = sums.data() + from;
  for (std::int32_t i = 0; i < to - from; ++i) sum[i] += pixel.light * tap[i];
}

// Output rows one by one, so that their sums stay in the first cache. The light of an output comes
// in raster order and the figure is symmetric about its centre, so the terms are added in the order
// of the kernel's rows.
Image spread_directly(const Image& light, const StarKernel& kernel) {
  const std::vector<std::vector<LitPixel>> lit = lit_pixels_by_row(light);
  std::vector<double> sums(static_cast<std::size_t>(light.w));
  Image out(light.h, light.w, 1);
  for (std::int32_t y = 0; y < light.h; ++y) {
    std::fill(sums.begin(), sums.end(), 0.0);
    const std::int32_t last = std::min(light.h - 1, y + kernel.radius);
    for (std::int32_t from = std::max(0, y - kernel.radius); from <= last; ++from)
      for (const LitPixel& pixel : lit[from])
        for (const StarKernel::Run& run : kernel.rows[y - from + kernel.radius])
          add_run(kernel, run, pixel, sums);
    std::transform(sums.begin(), sums.end(),
                   out.data.begin() + static_cast<std::ptrdiff_t>(y) * light.w,
                   [](double sum) { return static_cast<float>(sum); });
  }
  return out;
}

std::vector<double> as_square(const StarKernel& kernel) {
  const std::size_t side = kernel.rows.size();
  std::vector<double> square(side * side);
  for (std::size_t y = 0; y < side; ++y)
    for (const StarKernel::Run& run : kernel.rows[y])
      std::copy_n(&kernel.taps[run.first], run.count,
                  &square[y * side + static_cast<std::size_t>(run.dx + kernel.radius)]);
  return square;
}

}  // namespace

StarKernel star_kernel(const StarShape& shape) {
  const double radius = std::max(1.0, std::nearbyint(shape.length_px));
  if (!(radius <= kLargestRadius)) throw std::bad_alloc();
  StarKernel kernel;
  kernel.radius = static_cast<std::int32_t>(radius);
  const RayProfile ray = ray_profile(shape);
  const std::vector<Line> lines = star_lines(shape);
  std::vector<double> row(static_cast<std::size_t>(2 * kernel.radius + 1));
  double sum = 0.0;
  for (std::int32_t y = -kernel.radius; y <= kernel.radius; ++y) {
    std::fill(row.begin(), row.end(), 0.0);
    for (const Line& line : lines) add_line(line, ray, y, row);
    for (const double tap : row) sum += tap;
    kernel.rows.push_back(append_runs(row, kernel.taps));
  }
  for (double& tap : kernel.taps) tap /= sum;
  return kernel;
}

Image spread_by_star(const Image& light, const StarKernel& kernel) {
  const auto lit = static_cast<double>(light.data.size()) -
                   static_cast<double>(std::count(light.data.begin(), light.data.end(), 0.0f));
  const bool direct_is_cheaper =
      lit * static_cast<double>(kernel.taps.size()) <= kMostDirectProducts;
  return direct_is_cheaper ? spread_directly(light, kernel)
                           : convolve_large(light, as_square(kernel), kernel.radius);
}

}  // namespace morva
