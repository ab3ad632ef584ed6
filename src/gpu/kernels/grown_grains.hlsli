// Grains of a sub-sample: Poisson events of a lognormal rate. U0 holds the smooth noise of the rate over some
// rows of the raster, U1 the picture's mean at its own size.
#include "interface.hlsli"
#include "philox.hlsli"
#include "poisson.hlsli"
#include "grain_layout.h"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

// Two neighbouring pixels of an axis and the second one's weight.
struct Between {
  uint first;
  uint second;
  float weight;
};

// From pixel centre to pixel centre, and even beyond the last ones.
Between between_pixels(uint sub, uint pixels) {
  const uint per_side = q(kPerSide);
  const uint pixel = sub / per_side;
  const int off_centre = int(2 * (sub % per_side) + 1) - int(per_side);  // in halves of a sub-sample
  const float part = float(off_centre) / float(2 * per_side);
  Between found;
  found.first = off_centre < 0 ? max(pixel, 1u) - 1 : pixel;
  found.second = off_centre < 0 ? pixel : min(pixel + 1, pixels - 1);
  found.weight = off_centre < 0 ? 1.0 + part : part;
  return found;
}

float mean_along(uint row, Between columns) {
  const uint first = row * q(kPictureWidth);
  precise float mean =
      U1[first + columns.first] * (1.0 - columns.weight) + U1[first + columns.second] * columns.weight;
  return mean;
}

// The picture's mean at a sub-sample; above and below the picture its edge rows go on.
float mean_at(uint drawn_row, uint x) {
  const int last = int(q(kPictureHeight) * q(kPerSide)) - 1;
  const int row = clamp(int(drawn_row) - int(q(kLead)), 0, last);
  const Between rows = between_pixels(uint(row), q(kPictureHeight));
  const Between columns = between_pixels(x, q(kPictureWidth));
  precise float mean =
      mean_along(rows.first, columns) * (1.0 - rows.weight) + mean_along(rows.second, columns) * rows.weight;
  return mean;
}

// Of the result's element `id`.
float grain_count(uint id) {
  const uint width = q(kRasterWidth);
  const uint row = id / width, x = id % width;
  const uint drawn_row = q(kFirstDrawn) + row;
  precise float rate = exp(U0[(q(kFieldRow) + row) * width + x] * P[kSpread] - P[kShift]);
  rate = (rate * mean_at(drawn_row, x)) * P[kEvents];
  return poisson_count(uniform_of(drawn_words(draw_number(drawn_row, width, x)).x), rate);
}
