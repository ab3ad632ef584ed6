// A Gaussian of a radius up to 128 along columns: a group makes a tile of 16 columns by 64 rows from samples
// that it reads once, with those that the kernel reaches above and below.
#include "gaussian.hlsli"

static const uint kColumns = 16;
static const uint kRows = 64;
static const uint kRowStep = kRows / 4;
static const uint kMostRadius = 128;

groupshared float samples[(kRows + 2 * kMostRadius) * kColumns];

float4 four_rows(uint at) {
  return float4(samples[at], samples[at + kRowStep * kColumns], samples[at + 2 * kRowStep * kColumns],
                samples[at + 3 * kRowStep * kColumns]);
}

MORVA_GROUP void main(uint3 group : SV_GroupID, uint lane : SV_GroupIndex) {
  const uint top = group.y * kRows;
  const uint column = lane % kColumns;
  const uint x = group.x * kColumns + column;
  const uint tile = x < width() ? (kRows + 2 * radius()) * kColumns : 0;
  for (uint i = lane; i < tile; i += 256)
    samples[i] = line_sample(int(top + i / kColumns) - int(radius()), height(), x, width());
  GroupMemoryBarrierWithGroupSync();

  // Each thread makes four rows, so that a weight is read once for all of them.
  const uint row = lane / kColumns;
  const uint centre = (row + radius()) * kColumns + column;
  precise float4 sum = P[0] * four_rows(centre);
  for (uint k = radius(); k > 0; --k) {
    const precise float4 pair = four_rows(centre - k * kColumns) + four_rows(centre + k * kColumns);
    sum = sum + pair * P[k];
  }
  for (uint i = 0; i < 4; ++i) {
    const uint y = top + row + i * kRowStep;
    if (x < width() && y < height()) store(y * width() + x, sum[i]);
  }
}
