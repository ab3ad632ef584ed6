// Standard normals: q(0) rows of q(1) columns of an endless sheet, the first of which is its row q(2).
#include "interface.hlsli"
#include "philox.hlsli"

MORVA_BUFFER(0)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint width = q(1);
  if (id >= q(0) * width) return;
  U0[id] = normal_of(drawn_words(draw_number(q(2) + id / width, width, id % width)));
}
