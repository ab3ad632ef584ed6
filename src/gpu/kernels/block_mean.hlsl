// Means over blocks of q(2) x q(2) sub-samples: q(0) rows of q(1) pixels, which stand in U1 from row q(3) on. A block
// is small and its numbers are of one size, so single precision is enough for the sum.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint width = q(1), side = q(2);
  if (id >= q(0) * width) return;
  const uint first = (id / width) * side * (width * side) + (id % width) * side;
  precise float sum = 0.0;
  for (uint x = 0; x < side; ++x) {
    precise float column = 0.0;
    for (uint y = 0; y < side; ++y) column = column + U0[first + y * (width * side) + x];
    sum = sum + column;
  }
  U1[q(3) * width + id] = sum / float(side * side);
}
