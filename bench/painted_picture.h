// A picture of any size with eight stops in it and a few lights.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

struct Size {
  int width;
  int height;
};

inline std::vector<float> painted(Size size) {
  std::vector<float> rgb(static_cast<std::size_t>(size.width) * size.height * 3);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      for (int k = 0; k < 3; ++k) {
        const double wave = std::sin(40.0 * x / size.width + k) * std::cos(30.0 * y / size.width);
        rgb[(static_cast<std::size_t>(y) * size.width + x) * 3 + k] =
            static_cast<float>(0.18 * std::exp2(4.0 * wave));  // four stops either way
      }
  for (std::size_t i = 0; i < rgb.size(); i += 300007) rgb[i] = 20.0f;  // lights
  return rgb;
}
