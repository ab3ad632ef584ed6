// How far each place of a layer of the height U0, q(0) rows of q(1) pixels, is turned to the light: U1, the slope
// against the light's direction (P[0] across the rows, P[1] along them).
#include "interface.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint width = q(1);
  if (id >= q(0) * width) return;
  const uint y = id / width;
  const uint x = id - y * width;
  const uint left = x > 0 ? id - 1 : id;
  const uint right = x + 1 < width ? id + 1 : id;
  const uint above = y > 0 ? id - width : id;
  const uint below = y + 1 < q(0) ? id + width : id;
  const precise float dx = (U0[right] - U0[left]) * 0.5;
  const precise float dy = (U0[below] - U0[above]) * 0.5;
  const precise float turned = -(P[0] * dy + P[1] * dx);
  U1[id] = turned;
}
