#include "scene/texture.h"

namespace morva::host::scene {
namespace {

constexpr float kPi = 3.14159265f;

}  // namespace

float hash01(int x, int y, uint32_t kind) {
  // Wang-style integer mixing; any good mixing would do.
  uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^
               kind * 0xC2B2AE3Du;
  h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
  h = (h ^ (h >> 12)) * 0x297A2D39u;
  h ^= h >> 15;
  return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

float noise(float x, float y, uint32_t kind) {
  const float fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
  const float u = smooth_step(0.0f, 1.0f, x - fx), v = smooth_step(0.0f, 1.0f, y - fy);
  const float top = mix(hash01(ix, iy, kind), hash01(ix + 1, iy, kind), u);
  const float bottom = mix(hash01(ix, iy + 1, kind), hash01(ix + 1, iy + 1, kind), u);
  return 2.0f * mix(top, bottom, v) - 1.0f;
}

float cloud(float x, float y, int octaves, uint32_t kind) {
  float sum = 0.0f, strength = 0.5f;
  for (int octave = 0; octave < octaves; ++octave) {
    sum += strength * noise(x, y, kind + static_cast<uint32_t>(octave));
    x *= 2.0f;
    y *= 2.0f;
    strength *= 0.5f;
  }
  return sum;
}

float weave(float x, float y, float pitch) {
  const float u = x / pitch, v = y / pitch;
  const bool warp_on_top =
      ((static_cast<int>(std::floor(u)) + static_cast<int>(std::floor(v))) & 1) == 0;
  const float across = warp_on_top ? u : v;
  const float along = warp_on_top ? v : u;
  const float crown = std::sin(kPi * (across - std::floor(across)));
  const float bend = 0.6f + 0.4f * std::sin(kPi * (along - std::floor(along)));
  return 2.0f * crown * bend - 1.0f;
}

float knit(float x, float y, float pitch) {
  const float column = x / pitch;
  const float lean = std::fabs(column - std::floor(column) - 0.5f);  // the V of a stitch
  const float row = y / pitch + 1.2f * lean;
  return std::sin(2.0f * kPi * row) * 0.6f - 0.8f * bell(lean - 0.5f, 0.12f) + 0.2f;
}

float wood(float x, float y, uint32_t kind) {
  const float wander = 1.6f * cloud(x * 0.0021f, y * 0.24f, 3, kind);
  const float lines = std::sin(2.0f * kPi * (y + wander));
  const float pores = noise(x * 0.03f, y * 9.0f, kind + 9);
  return 0.55f * lines + 0.45f * pores;
}

}  // namespace morva::host::scene
