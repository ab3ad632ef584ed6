// The profiles of the tree, and a scene that shows what a stock does.
#pragma once

#include <cmath>
#include <filesystem>

#include "engine/host.h"
#include "profiles/store.h"

namespace morva {

inline const ProfileStore& maker() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

// A grey wedge with colour across it and one light that halates.
inline Scene wedge(int width, int height) {
  Scene scene(width, height, 0.0f);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int k = 0; k < 3; ++k) {
        const double level = std::pow(2.0, -6.0 + 9.0 * x / width);
        const double hue = 1.0 + 0.5 * std::sin(6.28 * (static_cast<double>(y) / height + k / 3.0));
        scene.pixels[(static_cast<std::size_t>(y) * width + x) * 3 + k] =
            static_cast<float>(level * hue);
      }
  scene.pixels[(static_cast<std::size_t>(height / 2) * width + width / 3) * 3] = 40.0f;
  return scene;
}

}  // namespace morva
