#include "optics/highlights.h"

#include <limits>

namespace morva {

Image light_above(const Image& image, std::int32_t k, float threshold) {
  constexpr float kMost = std::numeric_limits<float>::max();
  Image plane(image.h, image.w, 1);
  const float* in = image.data.data() + k;
  for (std::size_t i = 0; i < plane.data.size(); ++i, in += image.c) {
    const float excess = *in - threshold;
    plane.data[i] = excess > 0.0f && excess <= kMost ? excess : 0.0f;
  }
  return plane;
}

}  // namespace morva
