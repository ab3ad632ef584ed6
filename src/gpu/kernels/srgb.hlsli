// The transfer curve of IEC 61966-2-1, of light held in 0..1. What is no number is black.
#include "bounds.hlsli"

float srgb_encoded(float linear_light) {
  const float x = within(linear_light, 0.0, 1.0);
  if (x <= 0.0031308) return 12.92 * x;
  return 1.055 * exp2(log2(x) * 0.41666666) - 0.055;
}
