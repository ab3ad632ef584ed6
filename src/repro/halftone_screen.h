// The halftone screen of a press. A plate prints ink or none, so a tone becomes dots on a square
// grid, larger where it is darker; each plate's grid is turned by an angle of its own.
#pragma once

#include <array>

namespace morva {

inline constexpr int kSpotSteps = 4096;

struct SpotShare {
  float share = 0.0f;
  float rise = 0.0f;  // to the next entry
};

// The share of a cell's area where the spot function, the sum of a cosine along each side of the
// cell, is at or below i / 1024 - 2. The last entry stands once more at the end. Counted on 1024 x
// 1024 places of the cell, once in the life of the process.
using SpotShares = std::array<SpotShare, kSpotSteps + 1>;
const SpotShares& spot_shares();

struct HalftoneScreen {
  double period_px = 1.0;
  double angle_deg = 0.0;
  double along = 0.0, across = 0.0;  // where the grid begins, in periods
};

// Ink or none, with an edge of 0.6 px, where the plate has values 0..1: `rows` rows of `w` pixels,
// in place, the first of which is row `y`. An even value v covers the share v of the area, but for
// the ends of the scale, which the edge softens, and for grids locked to the pixels, where the
// share follows from where the grid begins and is v on average. The cosines are good to 1e-14
// everywhere on a raster, however long.
void screen_rows(float* plate, int y, int rows, int w, const HalftoneScreen& screen);

}  // namespace morva
