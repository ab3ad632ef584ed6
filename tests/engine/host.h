// A host in small: renders through the C interface and keeps what came back.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "morva.h"
#include "profiles/store.h"

namespace morva {

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0, morva_profiles_load(MORVA_PROFILES_PATH, nullptr)); }
};

// The profiles of the tree.
inline const ProfileStore& maker() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

struct Scene {
  int width, height;
  std::vector<float> pixels;

  Scene(int w, int h, float r, float g, float b)
      : width(w), height(h), pixels(std::size_t(w) * static_cast<std::size_t>(h) * 3) {
    const float colour[] = {r, g, b};
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = colour[i % 3];
  }
  Scene(int w, int h, float grey) : Scene(w, h, grey, grey, grey) {}
};

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

// What came back of a call: the code, the text and the size.
struct Answer {
  int code = 0;
  std::string message;
  int width = 0, height = 0;
};

struct Rendered : Answer {
  bool empty = true;  // `out` is all zero
  std::vector<float> pixels;

  const float* at(int y, int x) const {
    return &pixels[(static_cast<std::size_t>(y) * width + x) * 3];
  }
};

// No paper: the film's own.
inline Rendered render(const Scene& scene, const std::string& options, const std::string& film,
                       const std::string& paper = "", const int32_t* cancel = nullptr) {
  MorvaImage out{reinterpret_cast<float*>(1), 1, 1, 1};
  MorvaError err;
  Rendered result;
  result.code =
      morva_render_ex(scene.pixels.data(), scene.width, scene.height, options.c_str(), film.c_str(),
                      "plain", paper.empty() ? nullptr : paper.c_str(), cancel, &out, &err);
  result.message = err.message;
  result.width = out.width, result.height = out.height;
  result.empty = out.data == nullptr && out.width == 0 && out.height == 0 && out.channels == 0;
  if (out.data != nullptr)
    result.pixels.assign(out.data, out.data + std::size_t(out.width) * out.height * out.channels);
  morva_free(&out);
  return result;
}

}  // namespace morva
