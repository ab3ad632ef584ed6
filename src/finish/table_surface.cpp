#include "finish/table_surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "image/filters.h"
#include "image/noise.h"

namespace morva {

namespace {

constexpr double kGrainMm = 0.08;  // sigma of the paint's own grain
constexpr double kCloudMm = 3.0;

// Weights of a cubic B-spline on the four nodes around a place, `t` past the second of them.
std::array<float, 4> spline_weights(double t) {
  const double u = 1.0 - t;
  return {static_cast<float>(u * u * u / 6.0),
          static_cast<float>((3.0 * t * t * t - 6.0 * t * t + 4.0) / 6.0),
          static_cast<float>((3.0 * u * u * u - 6.0 * u * u + 4.0) / 6.0),
          static_cast<float>(t * t * t / 6.0)};
}

// Deviation of white noise of one under the spline: the mean over `t` of the weights' squares is
// 151 / 315 along an axis.
constexpr double kSplineDeviation = 151.0 / 315.0;

struct Node {
  std::size_t first;
  std::array<float, 4> weights;
};

Node node_at(std::int32_t at, double step) {
  const double place = (at + 0.5) / step;
  const double first = std::floor(place);
  return {static_cast<std::size_t>(first), spline_weights(place - first)};
}

std::int32_t nodes_along(std::int32_t length, double step) {
  return static_cast<std::int32_t>(std::ceil(length / step)) + 4;
}

// Rows of clouds: the four rows of nodes first, then along.
void add_clouds(const Mottle& mottle, const SurfacePart& part, float* shade) {
  std::vector<Node> across;
  across.reserve(part.columns());
  for (std::int32_t x = part.x0; x < part.x1; ++x) across.push_back(node_at(x, mottle.cloud_px));
  const float strength = mottle.cloud_strength / static_cast<float>(kSplineDeviation);
  std::vector<float> line(mottle.clouds.row_samples());
  for (std::int32_t y = part.y0; y < part.y1; ++y, shade += part.columns()) {
    const Node down = node_at(y, mottle.cloud_px);
    const float* rows = &mottle.clouds.data[down.first * line.size()];
    for (std::size_t i = 0; i < line.size(); ++i) {
      float sum = 0.0f;
      for (std::size_t j = 0; j < 4; ++j) sum += down.weights[j] * rows[j * line.size() + i];
      line[i] = strength * sum;
    }
    for (std::size_t i = 0; i < across.size(); ++i) {
      const float* at = &line[across[i].first];
      const auto& w = across[i].weights;
      shade[i] += (w[0] * at[0] + w[1] * at[1]) + (w[2] * at[2] + w[3] * at[3]);
    }
  }
}

}  // namespace

void add_fine_grain(const FineGrain& grain, const SurfacePart& part, float strength, float* shade) {
  const std::int32_t reach = static_cast<std::int32_t>(gaussian_radius(grain.sigma_px));
  const std::size_t halo = static_cast<std::size_t>(reach);
  Image noise(part.y1 - part.y0 + 2 * reach, part.x1 - part.x0 + 2 * reach, 1);
  NoiseRows(grain.key, part.y0 - reach, part.y1 + reach, grain.width + 2 * reach, true)
      .take(0, static_cast<std::size_t>(noise.h), static_cast<std::size_t>(part.x0),
            noise.row_samples(), noise.data.data(), noise.row_samples());
  noise = gaussian_filter(noise, grain.sigma_px, kBoundaryNearest);
  double power = 0.0;  // what the blur leaves of the variance along one axis
  for (const double weight : gaussian_kernel(grain.sigma_px, reach)) power += weight * weight;
  const float gain = static_cast<float>(strength / power);
  for (std::int32_t y = reach; y < noise.h - reach; ++y, shade += part.columns()) {
    const float* in = &noise.at(y, 0) + halo;
    for (std::size_t x = 0; x < part.columns(); ++x) shade[x] += gain * in[x];
  }
}

Mottle draw_mottle(std::int32_t h, std::int32_t w, double px_per_mm, double grain_strength,
                   double cloud_strength, Rng& rng) {
  Mottle mottle;
  mottle.grain = {
      {static_cast<std::int64_t>(rng.next())}, w, std::clamp(kGrainMm * px_per_mm, 0.6, 16.0)};
  mottle.grain_strength = static_cast<float>(grain_strength);
  mottle.cloud_strength = static_cast<float>(cloud_strength);
  mottle.cloud_px = std::max(8.0, kCloudMm * px_per_mm);
  mottle.clouds = Image(nodes_along(h, mottle.cloud_px), nodes_along(w, mottle.cloud_px), 1);
  rng.fill_normals(mottle.clouds.data.data(), mottle.clouds.data.size());
  return mottle;
}

void shade_mottle(const Mottle& mottle, const SurfacePart& part, float* shade) {
  std::fill_n(shade, part.columns() * static_cast<std::size_t>(part.y1 - part.y0), 1.0f);
  add_clouds(mottle, part, shade);
  add_fine_grain(mottle.grain, part, mottle.grain_strength, shade);
}

}  // namespace morva
