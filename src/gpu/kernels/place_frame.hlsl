// The picture on its piece of film, which no light has reached elsewhere. Where q(6) is set, U1 tells how much
// light the gate lets through at each pixel of the picture.
#include "canvas.hlsli"

MORVA_BUFFER(0)
MORVA_BUFFER(1)
MORVA_BUFFER(2)

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  if (id >= canvas_pixels()) return;
  uint pixel;
  float3 light = 0.0;
  if (shows_picture(id, pixel)) {
    light = float3(U0[pixel * 3], U0[pixel * 3 + 1], U0[pixel * 3 + 2]);
    if (q(6) != 0) light *= U1[pixel];
  }
  for (uint k = 0; k < 3; ++k) U2[id * 3 + k] = light[k];
}
