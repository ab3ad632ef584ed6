// One channel of a picture magnified about its centre, q(0) high and q(1) wide; q(2) and q(3) are the stride
// and offset of the source, q(4) and q(5) those of the result. P holds the position that each column reads,
// then that of each row.
#include "bilinear.hlsli"

MORVA_TABLE
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint height = q(0);
  const uint width = q(1);
  if (id >= height * width) return;
  const Between x = between(P[id % width], width);
  const Between y = between(P[width + id / width], height);
  U1[id * q(4) + q(5)] = bilinear(y, x, width, q(2), q(3));
}
