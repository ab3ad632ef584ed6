// Radial distortion of a picture of three channels, q(0) high and q(1) wide. U2 holds the place of each
// column from the centre in half diagonals, then that of each row. A sample comes from 1 + k1 r^2 + k2 r^4
// times its own distance; each step is rounded by itself, for the picture is read at the result.
#include "bilinear.hlsli"
#include "optics_layout.h"

MORVA_TABLE
MORVA_BUFFER(1)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint height = q(0);
  const uint width = q(1);
  if (id >= height * width) return;
  const float x = U2[id % width];
  const float y = U2[width + id / width];
  const precise float r2 = x * x + y * y;
  const precise float factor = r2 * P[distort_layout::kK2] * r2 + (r2 * P[distort_layout::kK1] + 1.0);
  const precise float row = factor * y * P[distort_layout::kHalfDiagonal] + P[distort_layout::kCentreY];
  const precise float column = factor * x * P[distort_layout::kHalfDiagonal] + P[distort_layout::kCentreX];
  const Between from_y = between(row, height);
  const Between from_x = between(column, width);
  for (uint k = 0; k < 3; ++k) U1[id * 3 + k] = bilinear(from_y, from_x, width, 3, k);
}
