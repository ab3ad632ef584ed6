// A picture laid on a larger canvas. Both sizes and where the picture lies are constants: q(0) x q(1) the
// canvas, q(2) x q(3) the picture, height first, then its upper left corner in row q(4), column q(5).
#include "interface.hlsli"

uint canvas_pixels() { return q(0) * q(1); }

// Whether pixel `id` of the canvas shows the picture, and which pixel of it.
bool shows_picture(uint id, out uint pixel) {
  // Above the picture or left of it the difference wraps round and is larger than any side.
  const uint y = id / q(1) - q(4);
  const uint x = id % q(1) - q(5);
  pixel = y * q(3) + x;
  return y < q(2) && x < q(3);
}
