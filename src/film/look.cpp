#include "film/look.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "image/elementary.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

float luminance(const float* p) {
  return (kLumaG * p[1] + kLumaR * p[0]) + kLumaB * p[2];
}

// Faded dye lifts every value, and the shadows most.
void fade_dyes(Image& positive, const Json& fade) {
  constexpr double most_faded = 0.95;
  std::vector<float> row(static_cast<std::size_t>(positive.w));
  for (int k = 0; k < 3; ++k) {
    const double faded = std::clamp(as_number(fade.at(k), "dye_fade"), 0.0, most_faded);
    const auto exponent = static_cast<float>(1.0 - faded);
    for (int y = 0; y < positive.h; ++y) {
      float* p = &positive.data[static_cast<std::size_t>(y) * positive.row_samples() + k];
      for (int x = 0; x < positive.w; ++x) row[x] = std::clamp(p[3 * x], 0.0f, 1.0f);
      elementary::powf(row.data(), exponent, row.data(), row.size());
      for (int x = 0; x < positive.w; ++x) p[3 * x] = row[x];
    }
  }
}

std::vector<float> tint_of(const Json& look, const char* key) {
  const Json& value = get(look, key);
  return value.is_null() ? std::vector<float>(3, 0.0f) : read_floats(value, 3, key);
}

bool all_zero(const std::vector<float>& numbers) {
  return std::all_of(numbers.begin(), numbers.end(), [](float v) { return v == 0.0f; });
}

// Split tone: the shadow tint fades out with the root of luminance, the highlight tint fades in
// with it.
void tint(Image& positive, const std::vector<float>& shadow, const std::vector<float>& highlight) {
  float* p = positive.data.data();
  for (std::size_t i = 0; i < positive.pixels(); ++i, p += 3) {
    const float s = std::sqrt(std::clamp(luminance(p), 0.0f, 1.0f));
    const float dark = (1.0f - s) * (1.0f - s);
    const float light = s * s;
    for (int k = 0; k < 3; ++k) p[k] *= (dark * shadow[k] + 1.0f) + light * highlight[k];
  }
}

void saturate(Image& positive, float factor) {
  float* p = positive.data.data();
  for (std::size_t i = 0; i < positive.pixels(); ++i, p += 3) {
    const float l = luminance(p);
    for (int k = 0; k < 3; ++k) p[k] = (p[k] - l) * factor + l;
  }
}

// What green has over the mean of the others is dulled and turned warmer.
void mute_greens(Image& positive, float mute) {
  constexpr float to_red = 0.55f;
  float* p = positive.data.data();
  for (std::size_t i = 0; i < positive.pixels(); ++i, p += 3) {
    const float excess = std::max(p[1] - (p[0] + p[2]) * 0.5f, 0.0f) * mute;
    p[1] -= excess;
    p[0] += excess * to_red;
  }
}

}  // namespace

void apply_look(Image& positive, const Json& look) {
  if (const Json& fade = get(look, "dye_fade"); truthy(fade)) fade_dyes(positive, fade);
  const std::vector<float> shadow = tint_of(look, "shadow_tint");
  const std::vector<float> highlight = tint_of(look, "highlight_tint");
  if (!all_zero(shadow) || !all_zero(highlight)) tint(positive, shadow, highlight);
  if (const double s = get_number(look, "saturation", 0.0); std::fabs(s) >= 0.0001)
    saturate(positive, static_cast<float>(1.0 + s));
  if (const double m = get_number(look, "green_mute", 0.0); m > 0.0)
    mute_greens(positive, static_cast<float>(m));
}

}  // namespace morva
