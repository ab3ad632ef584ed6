#include "plates/registration.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "image/elementary.h"
#include "image/held.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

constexpr double kLeastCellPx = 4.0;
constexpr double kWidestCrop = 0.2;  // of a side

// Deviations as they stand in the record, times the strength of the fault.
struct Misregister {
  double shift_px = 0.0;
  double rotate_rad = 0.0;
  double scale = 0.0;
  double creep_px = 0.0;
  double cell_px = 0.0;
  double crop = 0.0;  // share of each side
};

Misregister misregister(const Json& tricolor, const Json& options, double px_um) {
  const Json& r = get_object(tricolor, "registration");
  const double fault = held_finite(get_number(options, "plate_shift", 1.0));
  const double px_per_mm = 1000.0 / std::max(px_um, 1e-6);
  const auto number = [&](const char* key, double fallback) {
    return held_finite(get_number(r, key, fallback));
  };
  Misregister m;
  m.shift_px = held_finite(number("shift_mm", 0.25) * fault * px_per_mm);
  m.rotate_rad = held_finite(number("rotate_deg", 0.15) * fault * std::numbers::pi / 180.0);
  m.scale = held_finite(number("scale", 0.003) * fault);
  m.creep_px = held_finite(number("warp_mm", 0.15) * fault * px_per_mm);
  m.cell_px = std::max(kLeastCellPx, held_finite(number("warp_cell_mm", 15.0) * px_per_mm));
  m.crop = std::clamp(number("margin", 0.015) * std::fabs(fault), 0.0, kWidestCrop);
  return m;
}

std::int32_t cells_along(std::int32_t side_px, double cell_px) {
  return std::max(1, static_cast<std::int32_t>(std::nearbyint(side_px / cell_px)));
}

PlateWarp lay_plate(const Misregister& m, Rng& rng) {
  PlateWarp warp;
  for (double& shift : warp.shift_px) shift = m.shift_px * rng.normal();
  const double angle = m.rotate_rad * rng.normal();
  const double size = (1.0 + m.scale * rng.normal()) * (1.0 - 2.0 * m.crop);
  warp.turn = {size * elementary::cos(angle), size * elementary::sin(angle)};
  return warp;
}

void creep(PlateWarp& warp, const Misregister& m, std::int32_t w, std::int32_t h, Rng& rng) {
  warp.columns = cells_along(w, m.cell_px);
  warp.rows = cells_along(h, m.cell_px);
  const auto corners =
      static_cast<std::size_t>(warp.columns + 1) * static_cast<std::size_t>(warp.rows + 1);
  for (std::vector<float>* moves : {&warp.creep_x, &warp.creep_y}) {
    *moves = rng.normals(corners);
    for (float& move : *moves) move *= static_cast<float>(m.creep_px);
  }
}

// Where a pixel lies among the corners of the cells; the share of the next corner grows without a
// kink from 0 to 1.
struct CellPlace {
  std::size_t corner;
  float next_share;
};

std::vector<CellPlace> cell_places(std::int32_t side_px, std::int32_t cells) {
  std::vector<CellPlace> places;
  places.reserve(static_cast<std::size_t>(side_px));
  for (std::int32_t i = 0; i < side_px; ++i) {
    const double position = (i + 0.5) * cells / side_px;
    const int corner = std::min(static_cast<int>(position), cells - 1);
    const auto t = static_cast<float>(position - corner);
    places.push_back({static_cast<std::size_t>(corner), t * t * (3.0f - 2.0f * t)});
  }
  return places;
}

// Creep at the corners along one row of pixels.
void creep_of_row(const std::vector<float>& moves, const CellPlace& y, std::vector<float>& row) {
  const std::size_t n = row.size();
  const float* above = &moves[y.corner * n];
  for (std::size_t i = 0; i < n; ++i) row[i] = above[i] + (above[n + i] - above[i]) * y.next_share;
}

float creep_at(const std::vector<float>& row, const CellPlace& x) {
  return row[x.corner] + (row[x.corner + 1] - row[x.corner]) * x.next_share;
}

}  // namespace

std::array<PlateWarp, 3> registration_plan(const Json& tricolor, const Json& options,
                                           std::int32_t w, std::int32_t h, double px_um, Rng& rng) {
  const Misregister m = misregister(tricolor, options, px_um);
  std::array<PlateWarp, 3> plates;
  for (PlateWarp& plate : plates) plate = lay_plate(m, rng);
  for (PlateWarp& plate : plates) creep(plate, m, w, h, rng);
  return plates;
}

void project_plate(const Image& plate, const PlateWarp& warp, Image& screen, std::int32_t channel) {
  const double cy = (plate.h - 1) / 2.0, cx = (plate.w - 1) / 2.0;
  const std::vector<CellPlace> columns = cell_places(plate.w, warp.columns);
  const std::vector<CellPlace> rows = cell_places(plate.h, warp.rows);
  std::vector<float> creep_x(static_cast<std::size_t>(warp.columns) + 1), creep_y(creep_x);
  float* out = screen.data.data() + channel;
  for (std::int32_t i = 0; i < plate.h; ++i) {
    creep_of_row(warp.creep_x, rows[i], creep_x);
    creep_of_row(warp.creep_y, rows[i], creep_y);
    const double y = i - cy;
    const double row_x = cx + warp.shift_px[0] - warp.turn[1] * y;
    const double row_y = cy + warp.shift_px[1] + warp.turn[0] * y;
    for (std::int32_t j = 0; j < plate.w; ++j, out += screen.c) {
      const double x = j - cx;
      const double from_x = row_x + warp.turn[0] * x + creep_at(creep_x, columns[j]);
      const double from_y = row_y + warp.turn[1] * x + creep_at(creep_y, columns[j]);
      const FourPixels from(plate, between(static_cast<float>(from_y), plate.h),
                            between(static_cast<float>(from_x), plate.w));
      *out = from.mix(plate.data.data());
    }
  }
}

}  // namespace morva
