// What the library takes a host's sample for.
#pragma once

#include <algorithm>

namespace morva {

// Light beyond this is bounded, and a sample that is not a number counts as black, so that a
// damaged pixel stays one pixel instead of spreading through every blur. The sun's disc is about
// 1e6 above white.
inline constexpr float kBrightestLight = 1e9f;

inline float bounded_light(float light) {
  return light != light ? 0.0f : std::clamp(light, -kBrightestLight, kBrightestLight);
}

}  // namespace morva
