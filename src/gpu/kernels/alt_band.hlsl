// The coat U0 of q(0) rows of q(1) pixels, a share of a full one, thins out in the band along the top and the
// bottom edge, under the tracks U1 along the columns.
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

#include "coat_share.hlsli"

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= q(0) * q(1)) return;
  const uint y = id / q(1);
  const float share = coat_share(inside_edges(y, q(0), id - y * q(1), q(1)), U1[id]);
  U0[id] = min(U0[id], share);
}
