// Rows to a new width.
#include "resampling.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= width() * height()) return;
  store(id, resampled(id % width(), width(), id / width() * source_width(), 1));
}
