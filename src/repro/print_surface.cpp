#include "repro/print_surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"
#include "print/smooth_field.h"

namespace morva {

namespace {

constexpr double kMostStrength = 1e6;
constexpr double kWidestCellPx = 1e6;
constexpr double kLeastAmount = 1e-4;
constexpr double kLeastDeviation = 1e-6;
constexpr double kFineShare = 0.35;  // of a cell: how round its hills are

struct SurfaceBlock {
  double amount = 0.0;  // of light gained and lost on the slopes
  double cell_px = 0.0;
  std::array<double, 2> light = {-0.72, -0.7};  // across and down the sheet, from above left
};

SurfaceBlock read_surface(const Json& paper, const Json& options, double print_px_um) {
  constexpr double least_cell_px = 0.8;
  const Json& block = get(paper, "surface");
  SurfaceBlock surface;
  surface.amount = held(get_number(block, "amount", 0.0), 0.0, kMostStrength);
  if (!get(options, "print_texture").is_null())
    surface.amount *= held(get_number(options, "print_texture", 1.0), 0.0, kMostStrength);
  const double cell_um = get_number(block, "cell_um", 350.0);
  surface.cell_px = held(cell_um / std::max(1e-6, print_px_um), least_cell_px, kWidestCellPx);
  const Json& light = get(block, "light");
  if (light.is_array() && light.size() >= 2)
    for (std::size_t k = 0; k < 2; ++k)
      surface.light[k] = held_finite(as_number(light[k], "light"));
  return surface;
}

// Central differences inside, one-sided at the ends; a row of one pixel has no slope along it.
// `above` and `below` lie `rows_apart` rows from each other.
void slopes_to_light(const float* above, const float* row, const float* below, float rows_apart,
                     std::size_t width, const SurfaceBlock& surface, float* out) {
  const auto across = static_cast<float>(surface.light[0]);
  const auto down = static_cast<float>(surface.light[1]);
  const auto cell = static_cast<float>(surface.cell_px);
  const auto lit = [&](std::size_t x, float slope_x) {
    const float slope_y = (below[x] - above[x]) / rows_apart;
    return -(slope_y * down + slope_x * across) * cell;
  };
  if (width == 1) {
    out[0] = lit(0, 0.0f);
    return;
  }
  out[0] = lit(0, row[1] - row[0]);
  for (std::size_t x = 1; x + 1 < width; ++x) out[x] = lit(x, (row[x + 1] - row[x - 1]) * 0.5f);
  out[width - 1] = lit(width - 1, row[width - 1] - row[width - 2]);
}

// How far each place of the relief is turned to the light. In place: the rows that are still
// needed are kept aside.
void turn_to_light(Image& relief, const SurfaceBlock& surface) {
  const std::size_t width = static_cast<std::size_t>(relief.w);
  std::vector<float> above, row(relief.data.begin(), relief.data.begin() + relief.w);
  for (int y = 0; y < relief.h; ++y) {
    float* out = &relief.data[static_cast<std::size_t>(y) * width];
    const bool first = y == 0, last = y + 1 == relief.h;
    const float* next = last ? row.data() : out + width;
    slopes_to_light(first ? row.data() : above.data(), row.data(), next,
                    first || last ? 1.0f : 2.0f, width, surface, out);
    above.swap(row);
    if (!last) row.assign(next, next + width);
  }
}

// Light on the slopes, -1..1 and even on the whole. A steep slope gains no more than paper can.
Image light_on_relief(int h, int w, const SurfaceBlock& surface, Rng& rng) {
  Image q = band_field(h, w, kFineShare * surface.cell_px, surface.cell_px, rng);
  turn_to_light(q, surface);
  const double deviation = standard_deviation(q.data.data(), q.data.size());
  const auto steep = static_cast<float>(std::max(kLeastDeviation, deviation));
  for (float& v : q.data) v = 0.8f * v / steep;
  elementary::tanhf(q.data.data(), q.data.data(), q.data.size());
  take_off_mean(q);
  return q;
}

}  // namespace

Image band_field(int h, int w, double sigma_fine, double sigma_wide, Rng& rng) {
  constexpr double coarse_sigma = 3.0;  // samples of the raster on which a wide relief is drawn
  const double step = std::max(1.0, sigma_fine / coarse_sigma);
  const auto coarse = [step](int side) {
    return std::max(1, static_cast<int>(std::nearbyint(side / step)));
  };
  Image field(coarse(h), coarse(w), 1);
  rng.fill_normals(field.data.data(), field.data.size());
  field = gaussian_filter(field, sigma_fine / step, kBoundaryNearest);
  {
    const Image wide = gaussian_filter(field, sigma_wide / step, kBoundaryNearest);
    for (std::size_t i = 0; i < field.data.size(); ++i) field.data[i] -= wide.data[i];
  }
  if (step > 1.0) field = pil_resize(field, w, h, kResizeTriangle);
  const double deviation = standard_deviation(field.data.data(), field.data.size());
  const auto unit = static_cast<float>(deviation);
  if (deviation > kLeastDeviation)
    for (float& v : field.data) v /= unit;
  return field;
}

Image repro_surface(Image print, const Json& paper, const Json& options, double print_px_um,
                    Rng& rng) {
  const SurfaceBlock surface = read_surface(paper, options, print_px_um);
  if (surface.amount <= kLeastAmount || print.data.empty()) return print;
  const Image q = light_on_relief(print.h, print.w, surface, rng);
  const auto amount = static_cast<float>(surface.amount);
  float* p = print.data.data();
  for (const float lit : q.data) {
    const float light = 1.0f + amount * lit;
    for (int k = 0; k < print.c; ++k, ++p) *p = std::min(std::max(0.0f, *p * light), 1.0f);
  }
  return print;
}

}  // namespace morva
