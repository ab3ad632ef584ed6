// Colours and points of the demo scene. x runs right, y down, z out of the wall towards the viewer,
// all in pixels; a colour is linear light.
#pragma once

#include <algorithm>
#include <cmath>

namespace morva::host::scene {

struct Point {
  float x, y;
};

struct Vec3 {
  float x, y, z;
};

inline Vec3 operator+(Vec3 a, Vec3 b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, float s) {
  return {a.x * s, a.y * s, a.z * s};
}
inline float dot(Vec3 a, Vec3 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 normalized(Vec3 a) {
  return a * (1.0f / std::sqrt(std::max(dot(a, a), 1e-12f)));
}

struct Color {
  float r, g, b;
};

inline Color operator+(Color a, Color b) {
  return {a.r + b.r, a.g + b.g, a.b + b.b};
}
inline Color operator*(Color a, Color b) {
  return {a.r * b.r, a.g * b.g, a.b * b.b};
}
inline Color operator*(Color a, float s) {
  return {a.r * s, a.g * s, a.b * s};
}

inline float clamp01(float v) {
  return std::min(std::max(v, 0.0f), 1.0f);
}
inline float mix(float a, float b, float t) {
  return a + (b - a) * t;
}
inline Color mix(Color a, Color b, float t) {
  return a * (1.0f - t) + b * t;
}

// 0 below `from`, 1 above `to`, with level ends.
inline float smooth_step(float from, float to, float v) {
  const float t = clamp01((v - from) / (to - from));
  return t * t * (3.0f - 2.0f * t);
}

// A bell of height 1 about 0; `width` is where it has fallen to 1/e.
inline float bell(float v, float width) {
  return std::exp(-(v / width) * (v / width));
}

}  // namespace morva::host::scene
