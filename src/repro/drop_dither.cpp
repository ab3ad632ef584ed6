#include "repro/drop_dither.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "image/held.h"
#include "repro/blue_noise.h"

namespace morva {

namespace {

constexpr double kPixelPitch = 1.05;  // px: drops hardly wider than a pixel stand one on each

int cells_along(int side, double pitch_px) {
  if (!(pitch_px > kPixelPitch)) return side;
  return static_cast<int>(held(std::ceil(side / pitch_px), 1.0, side));
}

int cell_at(int pixel, int side, int cells, double pitch_px) {
  return cells == side ? pixel : std::min(cells - 1, static_cast<int>(pixel / pitch_px));
}

}  // namespace

ThresholdMap threshold_map(int h, int w, double pitch_px, Rng& rng) {
  ThresholdMap map;
  map.h = h;
  map.rows = cells_along(h, pitch_px);
  map.pitch_px = pitch_px;
  map.mask = blue_noise().data();
  map.row_offset = rng.next() % kBlueNoiseSide;
  const int column_offset = static_cast<int>(rng.next() % kBlueNoiseSide);
  const int cells = cells_along(w, pitch_px);
  map.columns.resize(static_cast<std::size_t>(w));
  for (int x = 0; x < w; ++x)
    map.columns[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(
        (cell_at(x, w, cells, pitch_px) + column_offset) % kBlueNoiseSide);
  return map;
}

const float* threshold_row(const ThresholdMap& map, int y) {
  const auto cell = static_cast<std::size_t>(cell_at(y, map.h, map.rows, map.pitch_px));
  return map.mask + (cell + map.row_offset) % kBlueNoiseSide * kBlueNoiseSide;
}

void throw_drops(const ThresholdMap& map, int y, Image& tone) {
  const std::size_t w = static_cast<std::size_t>(tone.w);
  for (int i = 0; i < tone.h; ++i) {
    const float* thresholds = threshold_row(map, y + i);
    float* row = tone.data.data() + static_cast<std::size_t>(i) * w;
    for (std::size_t x = 0; x < w; ++x) row[x] = row[x] >= thresholds[map.columns[x]] ? 1.0f : 0.0f;
  }
}

}  // namespace morva
