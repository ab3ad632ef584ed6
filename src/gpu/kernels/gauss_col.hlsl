// A Gaussian of any radius along columns.
#include "gaussian.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= width() * height()) return;
  store(id, line_sum(id / width(), height(), id % width(), width()));
}
