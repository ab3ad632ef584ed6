#include "print/pigment.h"

#include <algorithm>
#include <vector>

#include "image/elementary.h"

namespace morva {

namespace {

Image cover(const Image& ink, const PigmentBlock& pigment, const std::array<float, 3>& paper) {
  const auto opacity = static_cast<float>(pigment.opacity);
  Image print(ink.h, ink.w, 3);
  float* p = print.data.data();
  for (const float d : ink.data) {
    const float t = std::clamp(opacity * d, 0.0f, 1.0f);
    for (int k = 0; k < 3; ++k) *p++ = (1.0f - t) * paper[k] + t * pigment.rgb[k];
  }
  return print;
}

Image stain(const Image& ink, const PigmentBlock& pigment, const std::array<float, 3>& paper) {
  Image print(ink.h, ink.w, 3);
  const std::size_t width = static_cast<std::size_t>(ink.w);
  std::vector<float> light(width);
  for (int y = 0; y < ink.h; ++y) {
    const float* d = &ink.data[static_cast<std::size_t>(y) * width];
    float* p = &print.data[static_cast<std::size_t>(y) * print.row_samples()];
    for (int k = 0; k < 3; ++k) {
      for (std::size_t x = 0; x < width; ++x) light[x] = -d[x] * pigment.density[k];
      elementary::exp10f(light.data(), light.data(), width);
      for (std::size_t x = 0; x < width; ++x) p[x * 3 + k] = paper[k] * light[x];
    }
  }
  return print;
}

}  // namespace

Image colour_of_ink(const Image& ink, const PigmentBlock& pigment,
                    const std::array<float, 3>& paper) {
  return pigment.opaque ? cover(ink, pigment, paper) : stain(ink, pigment, paper);
}

}  // namespace morva
