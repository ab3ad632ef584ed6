// The look of a stock in the positive, linear light. Takes the table P.
#include "bounds.hlsli"
#include "film_layout.h"

float3 faded(int at, float3 light) {
  const float3 held = within(light, 0.0, 1.0);
  return float3(power(held.r, P[at]), power(held.g, P[at + 1]), power(held.b, P[at + 2]));
}

float luminance(float3 light) { return (0.7152 * light.g + 0.2126 * light.r) + 0.0722 * light.b; }

float3 tinted(int shadow, int highlight, float3 light) {
  const float s = sqrt(within(luminance(light), 0.0, 1.0));
  const float dark = (1.0 - s) * (1.0 - s);
  return light * ((dark * three_at(shadow) + 1.0) + (s * s) * three_at(highlight));
}

// What green has over the mean of the others is dulled and turned warmer.
float3 with_muted_greens(float mute, float3 light) {
  const float excess = at_least(light.g - (light.r + light.b) * 0.5, 0.0) * mute;
  return light + float3(excess * 0.55, -excess, 0.0);
}

// By the numbers that begin at P[at].
float3 with_look(int at, float3 light) {
  if (P[at + look_layout::kFades] != 0.0) light = faded(at + look_layout::kFade, light);
  if (P[at + look_layout::kTints] != 0.0)
    light = tinted(at + look_layout::kShadow, at + look_layout::kHighlight, light);
  if (P[at + look_layout::kSaturates] != 0.0) {
    const float l = luminance(light);
    light = (light - l) * P[at + look_layout::kSaturation] + l;
  }
  const float mute = P[at + look_layout::kGreenMute];
  return mute > 0.0 ? with_muted_greens(mute, light) : light;
}

// Light to 0..1; what is no number is black.
float held_to_sheet(float x) { return within(x, 0.0, 1.0); }
