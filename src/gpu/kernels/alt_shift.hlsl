// A plate laid down out of register: the plane U1 is U0, q(0) rows of q(1) pixels, moved q(2) pixels down and
// q(3) to the right, both signed. What was beyond its edges continues them.
#include "interface.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const int height = int(q(0));
  const int width = int(q(1));
  if (id >= q(0) * q(1)) return;
  const uint y = id / q(1);
  const int from_y = clamp(int(y) - int(q(2)), 0, height - 1);
  const int from_x = clamp(int(id - y * q(1)) - int(q(3)), 0, width - 1);
  U1[id] = U0[uint(from_y) * q(1) + uint(from_x)];
}
