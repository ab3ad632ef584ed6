// A Gaussian of any radius along rows where q(2) is set, else along columns.
#include "gaussian.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= width() * height()) return;
  const uint x = id % width();
  const uint y = id / width();
  store(id, q(2) != 0 ? line_sum(x, width(), y * width(), 1) : line_sum(y, height(), x, width()));
}
