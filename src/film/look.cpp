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
void fade_dyes(Image& positive, const std::array<float, 3>& exponents) {
  std::vector<float> row(static_cast<std::size_t>(positive.w));
  for (int k = 0; k < 3; ++k) {
    for (int y = 0; y < positive.h; ++y) {
      float* p = &positive.data[static_cast<std::size_t>(y) * positive.row_samples() + k];
      for (int x = 0; x < positive.w; ++x) row[x] = std::clamp(p[3 * x], 0.0f, 1.0f);
      elementary::powf(row.data(), exponents[k], row.data(), row.size());
      for (int x = 0; x < positive.w; ++x) p[3 * x] = row[x];
    }
  }
}

std::array<float, 3> fade_exponents(const Json& fade) {
  constexpr double most_faded = 0.95;
  std::array<float, 3> exponents = {};
  for (int k = 0; k < 3; ++k) {
    const double faded = std::clamp(as_number(fade.at(k), "dye_fade"), 0.0, most_faded);
    exponents[k] = static_cast<float>(1.0 - faded);
  }
  return exponents;
}

std::array<float, 3> tint_of(const Json& look, const char* key) {
  const Json& value = get(look, key);
  if (value.is_null()) return {};
  const std::vector<float> tint = read_floats(value, 3, key);
  return {tint[0], tint[1], tint[2]};
}

// Split tone: the shadow tint fades out with the root of luminance, the highlight tint fades in
// with it.
void tint(Image& positive, const LookParams::Tints& tints) {
  float* p = positive.data.data();
  for (std::size_t i = 0; i < positive.pixels(); ++i, p += 3) {
    const float s = std::sqrt(std::clamp(luminance(p), 0.0f, 1.0f));
    const float dark = (1.0f - s) * (1.0f - s);
    const float light = s * s;
    for (int k = 0; k < 3; ++k)
      p[k] *= (dark * tints.shadow[k] + 1.0f) + light * tints.highlight[k];
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

LookParams look_params(const Json& look) {
  LookParams params;
  if (const Json& fade = get(look, "dye_fade"); truthy(fade)) params.fade = fade_exponents(fade);
  const LookParams::Tints tints = {tint_of(look, "shadow_tint"), tint_of(look, "highlight_tint")};
  constexpr std::array<float, 3> none = {};
  if (tints.shadow != none || tints.highlight != none) params.tints = tints;
  if (const double s = get_number(look, "saturation", 0.0); std::fabs(s) >= 0.0001)
    params.saturation = static_cast<float>(1.0 + s);
  if (const double m = get_number(look, "green_mute", 0.0); m > 0.0)
    params.green_mute = static_cast<float>(m);
  return params;
}

void apply_look(Image& positive, const LookParams& look) {
  if (look.fade) fade_dyes(positive, *look.fade);
  if (look.tints) tint(positive, *look.tints);
  if (look.saturation) saturate(positive, *look.saturation);
  if (look.green_mute > 0.0f) mute_greens(positive, look.green_mute);
}

void apply_look(Image& positive, const Json& look) {
  apply_look(positive, look_params(look));
}

}  // namespace morva
