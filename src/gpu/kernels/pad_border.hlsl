// The print on its sheet, whose border has the colour in P.
#include "canvas.hlsli"

MORVA_TABLE
MORVA_BUFFER(0)
MORVA_BUFFER(1)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= canvas_pixels()) return;
  uint pixel;
  float3 colour = float3(P[0], P[1], P[2]);
  if (shows_picture(id, pixel))
    colour = float3(U0[pixel * 3], U0[pixel * 3 + 1], U0[pixel * 3 + 2]);
  for (uint k = 0; k < 3; ++k) U1[id * 3 + k] = colour[k];
}
