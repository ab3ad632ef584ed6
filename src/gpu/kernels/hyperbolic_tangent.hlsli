// The hyperbolic tangent. Beyond 16 it is 1 in single precision.
#include "bounds.hlsli"

float hyperbolic_tangent(float x) {
  const float fall = exp2(abs(within(x, -16.0, 16.0)) * -2.88539008);  // e^-2|x|
  const float value = (1.0 - fall) / (1.0 + fall);
  return x < 0.0 ? -value : value;
}
