#include "repro/halftone_screen.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <numbers>
#include <vector>

#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr int kPlaces = 1024;        // along each side of a cell
constexpr double kSpotScale = 1024;  // entries of the table to a unit of the spot function

double spot_of_step(int step) {
  return step / kSpotScale - 2.0;
}

// The first entry of the table that `spot` is not above.
int first_step_reached(double spot) {
  int step = static_cast<int>(std::ceil((spot + 2.0) * kSpotScale));
  // spot + 2 is rounded; the sums are compared as they are.
  while (step < kSpotSteps && spot > spot_of_step(step)) ++step;
  while (step > 0 && spot <= spot_of_step(step - 1)) --step;
  return step;
}

SpotShares count_spot_shares() {
  std::vector<double> wave(kPlaces);
  for (int a = 0; a < kPlaces; ++a)
    wave[a] = elementary::cos(2.0 * std::numbers::pi * (a + 0.5) / kPlaces);
  std::vector<int> reached(kSpotSteps + 1);
  for (int a = 0; a < kPlaces; ++a) {
    ++reached[first_step_reached(wave[a] + wave[a])];
    for (int b = 0; b < a; ++b) reached[first_step_reached(wave[a] + wave[b])] += 2;
  }
  SpotShares shares;
  int below = 0;
  for (int i = 0; i < kSpotSteps; ++i) {
    below += reached[i];
    shares[i].share = static_cast<float>(static_cast<double>(below) / (kPlaces * kPlaces));
  }
  shares[kSpotSteps] = shares[kSpotSteps - 1];
  for (int i = 0; i < kSpotSteps; ++i) shares[i].rise = shares[i + 1].share - shares[i].share;
  return shares;
}

// An angle as a whole number of 2^-64 turns. Whole turns fall away by themselves, so that a phase
// is as exact at the far end of a raster as at its beginning.
using Turns = std::uint64_t;

Turns turns_of(double periods) {
  const double size = std::fabs(periods);
  const auto share = static_cast<Turns>((size - std::floor(size)) * 0x1p64);
  return periods < 0.0 ? 0 - share : share;
}

struct Wave {
  double cos, sin;
};

Wave wave_at(Turns angle) {
  const double half_turns = static_cast<double>(static_cast<std::int64_t>(angle)) * 0x1p-63;
  const double radians = half_turns * std::numbers::pi;
  return {elementary::cos(radians), elementary::sin(radians)};
}

Wave turned(const Wave& a, const Wave& b) {
  return {a.cos * b.cos - a.sin * b.sin, a.sin * b.cos + a.cos * b.sin};
}

// The grid's two waves, each a plane wave: its phase at a pixel is one of the row and one of the
// column.
struct Grid {
  Turns along_x, along_y, along;     // a step to the right, a step down, and at the corner
  Turns across_x, across_y, across;  // likewise
};

Grid grid_of(const HalftoneScreen& screen) {
  const double period = held(screen.period_px, 1e-6, 1e30);
  const double angle = screen.angle_deg * std::numbers::pi / 180.0;
  const Turns per_px_cos = turns_of(elementary::cos(angle) / period);
  const Turns per_px_sin = turns_of(elementary::sin(angle) / period);
  return {per_px_cos,     per_px_sin, turns_of(screen.along),
          0 - per_px_sin, per_px_cos, turns_of(screen.across)};
}

// Columns are taken a block at a time: the waves of a block's columns from its first, and those of
// each block from the first of the row. A sum of angles is then a product of two waves.
constexpr int kBlock = 64;

struct alignas(64) BlockColumns {
  double along_cos[kBlock], along_sin[kBlock], across_cos[kBlock], across_sin[kBlock];
};

struct GridWaves {
  Wave along, across;
};

GridWaves row_waves(const Grid& grid, int y) {
  const auto row = static_cast<Turns>(y);
  return {wave_at(grid.along + row * grid.along_y), wave_at(grid.across + row * grid.across_y)};
}

GridWaves column_waves(const Grid& grid, int x) {
  const auto column = static_cast<Turns>(x);
  return {wave_at(column * grid.along_x), wave_at(column * grid.across_x)};
}

BlockColumns block_columns(const Grid& grid) {
  BlockColumns columns;
  for (int x = 0; x < kBlock; ++x) {
    const GridWaves w = column_waves(grid, x);
    columns.along_cos[x] = w.along.cos;
    columns.along_sin[x] = w.along.sin;
    columns.across_cos[x] = w.across.cos;
    columns.across_sin[x] = w.across.sin;
  }
  return columns;
}

// Coverage of n columns of a block; `first` are the waves at its first.
void screen_block(float* plate, int n, const GridWaves& first, const BlockColumns& columns,
                  const SpotShares& shares, float soft) {
  alignas(64) std::int32_t entry[kBlock];
  alignas(64) float share[kBlock];
  const Wave across = {first.across.cos * kSpotScale, first.across.sin * kSpotScale};
  const Wave along = {first.along.cos * kSpotScale, first.along.sin * kSpotScale};
  for (int x = 0; x < kBlock; ++x) {
    const double t = ((across.cos * columns.across_cos[x] - across.sin * columns.across_sin[x]) +
                      (along.cos * columns.along_cos[x] - along.sin * columns.along_sin[x])) +
                     2.0 * kSpotScale;
    // Rounding leads past the ends by 1e-12 at most, which finds the first entry and the last.
    entry[x] = static_cast<std::int32_t>(t);
    share[x] = static_cast<float>(t - entry[x]);
  }
  for (int x = 0; x < kBlock; ++x) {
    const SpotShare& at = shares[static_cast<std::size_t>(entry[x])];
    share[x] = at.share + at.rise * share[x];
  }
  for (int x = 0; x < n; ++x) {
    const float threshold = 1.0f - share[x];
    const float coverage = (plate[x] - threshold) / soft + 0.5f;
    plate[x] = std::min(std::max(0.0f, coverage), 1.0f);
  }
}

}  // namespace

const SpotShares& spot_shares() {
  static std::mutex mutex;
  static bool counted = false;
  static SpotShares shares;
  const std::lock_guard lock(mutex);
  if (!counted) shares = count_spot_shares();
  counted = true;
  return shares;
}

void screen_rows(float* plate, int y, int rows, int w, const HalftoneScreen& screen) {
  const SpotShares& shares = spot_shares();
  const Grid grid = grid_of(screen);
  const auto soft = static_cast<float>(std::max(1e-4, 0.6 / held(screen.period_px, 1e-6, 1e30)));
  const BlockColumns columns = block_columns(grid);
  std::vector<GridWaves> blocks;
  for (int x = 0; x < w; x += kBlock) blocks.push_back(column_waves(grid, x));
  for (int row = y; row < y + rows; ++row) {
    const GridWaves begin = row_waves(grid, row);
    for (int x = 0; x < w; x += kBlock) {
      const GridWaves& block = blocks[static_cast<std::size_t>(x / kBlock)];
      const GridWaves first = {turned(begin.along, block.along),
                               turned(begin.across, block.across)};
      screen_block(plate + x, std::min(kBlock, w - x), first, columns, shares, soft);
    }
    plate += w;
  }
}

}  // namespace morva
