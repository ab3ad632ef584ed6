// A host in small: renders through the C interface and keeps what came back.
#pragma once

#include <string>
#include <vector>

#include "morva.h"

struct Rendered {
  int code = 0;
  std::string message;
  int width = 0;
  int height = 0;
  bool empty = true;  // `out` is all zero
  std::vector<float> pixels;

  const float* at(int y, int x) const {
    return &pixels[(static_cast<std::size_t>(y) * width + x) * 3];
  }
};

struct Scene {
  int width;
  int height;
  std::vector<float> pixels;

  Scene(int w, int h, float r, float g, float b)
      : width(w), height(h), pixels(std::size_t(w) * static_cast<std::size_t>(h) * 3) {
    const float colour[] = {r, g, b};
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = colour[i % 3];
  }
  Scene(int w, int h, float grey) : Scene(w, h, grey, grey, grey) {}
};

inline Rendered render(const Scene& scene, const char* options, const char* film, const char* paper,
                       const int32_t* cancel = nullptr) {
  MorvaImage out{reinterpret_cast<float*>(1), 1, 1, 1};
  MorvaError err;
  Rendered result;
  result.code = morva_render_ex(scene.pixels.data(), scene.width, scene.height, options, film,
                                "plain", paper, cancel, &out, &err);
  result.message = err.message;
  result.width = out.width;
  result.height = out.height;
  result.empty = out.data == nullptr && out.width == 0 && out.height == 0 && out.channels == 0;
  if (out.data != nullptr)
    result.pixels.assign(out.data, out.data + std::size_t(out.width) * out.height * out.channels);
  morva_free(&out);
  return result;
}
