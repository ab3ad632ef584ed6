#include "optics/star_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <numbers>

#include "image/convolution.h"
#include "image/elementary.h"

namespace morva {

namespace {

constexpr double kLargestRadius = 16384.0;
constexpr double kShortestDecay = 0.001;
constexpr double kExpReachesZero = 746.0;
constexpr double kDirectProducts = 3e9;  // more of them take longer than the transforms
constexpr std::int32_t kBlockHalf = 256;

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

// Adds one line's light along the kernel row at height y.
void add_line(const Line& line, const StarShape& shape, double y, std::vector<double>& row) {
  const std::int32_t radius = static_cast<std::int32_t>(row.size() / 2);
  const double spread = 2.0 * shape.width_px * shape.width_px;
  const double tau = std::max(kShortestDecay, shape.length_px * shape.decay);
  const double reach = static_cast<double>(static_cast<float>(shape.length_px));
  // Columns where the fall is not yet zero, with one to spare on either side.
  const double margin = std::sqrt(kExpReachesZero * spread);
  double first = -radius, last = radius;
  if (std::fabs(line.sin_angle) > 1e-6) {
    const double centre = y * line.cos_angle / line.sin_angle;
    const double half = margin / std::fabs(line.sin_angle) + 1.0;
    first = std::clamp(centre - half, first, last);
    last = std::clamp(centre + half, first, last);
  }
  for (auto x = static_cast<std::int32_t>(first); x <= static_cast<std::int32_t>(last); ++x) {
    const double across = y * line.cos_angle - x * line.sin_angle;
    const double fall = across * across / spread;
    if (fall > kExpReachesZero) continue;
    const double along = std::fabs(x * line.cos_angle + y * line.sin_angle);
    if (along > reach) continue;
    row[x + radius] += elementary::exp(-fall) * elementary::exp(-along / tau);
  }
}

void append_runs(std::int32_t dy, const std::vector<double>& row, StarKernel& kernel) {
  for (std::size_t x = 0; x < row.size();) {
    if (row[x] == 0.0) {
      ++x;
      continue;
    }
    std::size_t end = x;
    while (end < row.size() && row[end] != 0.0) ++end;
    kernel.runs.push_back(
        {dy, static_cast<std::int32_t>(x) - kernel.radius, kernel.taps.size(), end - x});
    kernel.taps.insert(kernel.taps.end(), row.begin() + static_cast<std::ptrdiff_t>(x),
                       row.begin() + static_cast<std::ptrdiff_t>(end));
    x = end;
  }
}

struct Source {
  std::int32_t x;
  double light;
};

std::vector<std::vector<Source>> sources_by_row(const Image& light) {
  std::vector<std::vector<Source>> rows(static_cast<std::size_t>(light.h));
  for (std::int32_t y = 0; y < light.h; ++y)
    for (std::int32_t x = 0; x < light.w; ++x)
      if (light.at(y, x) != 0.0f) rows[y].push_back({x, static_cast<double>(light.at(y, x))});
  return rows;
}

void add_run(const StarKernel& kernel, const StarKernel::Run& run, const Source& source,
             std::vector<double>& sums) {
  const std::int32_t start = source.x + run.dx;
  const std::int32_t from = std::max(start, 0);
  const std::int32_t to = std::min(static_cast<std::int32_t>(sums.size()),
                                   start + static_cast<std::int32_t>(run.count));
  if (from >= to) return;
  const double* tap = kernel.taps.data() + run.first + (from - start);
  double* sum = sums.data() + from;
  for (std::int32_t i = 0; i < to - from; ++i) sum[i] += source.light * tap[i];
}

// Output rows one by one, so that their sums stay in the first cache. The sources of an output come
// in raster order and the figure is symmetric about its centre, so the terms are added in the order
// of the kernel's rows.
Image spread_directly(const Image& light, const StarKernel& kernel) {
  const std::vector<std::vector<Source>> sources = sources_by_row(light);
  std::vector<double> sums(static_cast<std::size_t>(light.w));
  Image out(light.h, light.w, 1);
  for (std::int32_t y = 0; y < light.h; ++y) {
    std::fill(sums.begin(), sums.end(), 0.0);
    for (auto below = kernel.runs.rbegin(); below != kernel.runs.rend();) {
      const std::int32_t dy = below->dy;
      auto above = below;
      while (above != kernel.runs.rend() && above->dy == dy) ++above;
      if (const std::int32_t from = y - dy; from >= 0 && from < light.h)
        for (const Source& source : sources[from])
          for (auto run = below; run != above; ++run) add_run(kernel, *run, source, sums);
      below = above;
    }
    std::transform(sums.begin(), sums.end(),
                   out.data.begin() + static_cast<std::ptrdiff_t>(y) * light.w,
                   [](double sum) { return static_cast<float>(sum); });
  }
  return out;
}

// The taps around (cy, cx) as a dense square, empty when there are none.
std::vector<double> dense_block(const StarKernel& kernel, std::int32_t cy, std::int32_t cx,
                                std::int32_t half) {
  const std::int32_t side = 2 * half + 1;
  std::vector<double> block;
  for (const StarKernel::Run& run : kernel.runs) {
    if (std::abs(run.dy - cy) > half) continue;
    for (std::size_t i = 0; i < run.count; ++i) {
      const std::int32_t dx = run.dx + static_cast<std::int32_t>(i);
      if (std::abs(dx - cx) > half) continue;
      if (block.empty()) block.resize(static_cast<std::size_t>(side) * side);
      block[static_cast<std::size_t>(run.dy - cy + half) * side + (dx - cx + half)] =
          kernel.taps[run.first + i];
    }
  }
  return block;
}

// Adds `light` convolved with a block of the kernel that stands (cy, cx) off its centre. The plane
// is extended by the offset, so that what crosses its edge on the way is kept.
void add_block(const Image& light, const std::vector<double>& block, std::int32_t half,
               std::int32_t cy, std::int32_t cx, Image& out) {
  const std::int32_t top = std::max(cy, 0), left = std::max(cx, 0);
  Image extended(light.h + std::abs(cy), light.w + std::abs(cx), 1);
  for (std::int32_t y = 0; y < light.h; ++y)
    std::copy_n(&light.data[static_cast<std::size_t>(y) * light.w], light.w,
                &extended.at(y + top, left));
  const Image spread = convolve_large(extended, block, half);
  for (std::int32_t y = 0; y < light.h; ++y)
    for (std::int32_t x = 0; x < light.w; ++x)
      out.at(y, x) += spread.at(y + top - cy, x + left - cx);
}

// In square blocks of the kernel, small enough for the transform.
Image spread_by_transform(const Image& light, const StarKernel& kernel) {
  const std::int32_t side = 2 * kernel.radius + 1;
  const std::int32_t blocks = (side - 1) / (2 * kBlockHalf + 1) + 1;
  const std::int32_t half = (side + blocks - 1) / blocks / 2;
  const std::int32_t step = 2 * half + 1;
  Image out(light.h, light.w, 1);
  for (std::int32_t cy = half - kernel.radius; cy - half <= kernel.radius; cy += step)
    for (std::int32_t cx = half - kernel.radius; cx - half <= kernel.radius; cx += step) {
      const std::vector<double> block = dense_block(kernel, cy, cx, half);
      if (!block.empty()) add_block(light, block, half, cy, cx, out);
    }
  return out;
}

}  // namespace

StarKernel star_kernel(const StarShape& shape) {
  const double radius = std::max(1.0, std::nearbyint(shape.length_px));
  if (!(radius <= kLargestRadius)) throw std::bad_alloc();
  StarKernel kernel;
  kernel.radius = static_cast<std::int32_t>(radius);
  const std::vector<Line> lines = star_lines(shape);
  std::vector<double> row(static_cast<std::size_t>(2 * kernel.radius + 1));
  double sum = 0.0;
  for (std::int32_t y = -kernel.radius; y <= kernel.radius; ++y) {
    std::fill(row.begin(), row.end(), 0.0);
    for (const Line& line : lines) add_line(line, shape, y, row);
    for (const double tap : row) sum += tap;
    append_runs(y, row, kernel);
  }
  for (double& tap : kernel.taps) tap /= sum;
  return kernel;
}

Image spread_by_star(const Image& light, const StarKernel& kernel) {
  const auto sources = static_cast<double>(light.data.size()) -
                       static_cast<double>(std::count(light.data.begin(), light.data.end(), 0.0f));
  const bool few = sources * static_cast<double>(kernel.taps.size()) <= kDirectProducts;
  return few ? spread_directly(light, kernel) : spread_by_transform(light, kernel);
}

}  // namespace morva
