// Darkens three channels towards the corners by P[0] there; P[1] is the power of the growth with the
// distance, P[2] what that power makes of no distance at all. The picture is q(0) high and q(1) wide.
#include "interface.hlsli"

static const float kSqrt2 = 1.41421354;

MORVA_TABLE
MORVA_BUFFER(0)

// A pixel's place from the middle of n, in half sides.
float from_centre(uint i, uint n) { return (float(i) - float(n - 1) / 2.0) / (float(n) / 2.0); }

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint height = q(0);
  const uint width = q(1);
  if (id >= height * width) return;
  const float y = from_centre(id / width, height);
  const float x = from_centre(id % width, width);
  const float distance = min(1.0, sqrt(x * x + y * y) / kSqrt2);
  const float loss = distance > 0.0 ? exp2(P[1] * log2(distance)) : P[2];
  const float left = 1.0 - loss * P[0];
  for (uint k = 0; k < 3; ++k) U0[id * 3 + k] *= left;
}
