// Light above a level: what a star or a diffusion filter spreads.
#pragma once

#include <algorithm>
#include <cmath>

#include "image/image.h"

namespace morva {

// A sample that is not finite is a fault of the picture, not a lamp, and has no light to spread.
inline float light_over(float sample, float threshold) {
  const float light = std::max(0.0f, sample - threshold);
  return std::isfinite(light) ? light : 0.0f;
}

// Channel `k` of `image` above the threshold, as a plane.
inline Image light_over(const Image& image, int k, float threshold) {
  Image light(image.h, image.w, 1);
  const float* in = image.data.data() + k;
  for (float& value : light.data) {
    value = light_over(*in, threshold);
    in += image.c;
  }
  return light;
}

}  // namespace morva
