// The look of a stock in the positive: faded dyes, tinted shadows and highlights, saturation, muted
// greens.
#pragma once

#include <array>
#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

struct LookParams {
  struct Tints {
    std::array<float, 3> shadow = {};
    std::array<float, 3> highlight = {};
  };
  std::optional<std::array<float, 3>> fade;  // exponents of the light through each faded dye
  std::optional<Tints> tints;
  std::optional<float> saturation;  // factor of the differences from luminance
  float green_mute = 0.0f;          // share of green's excess that goes; 0 for none
};

// `look` is the film's object of that name, or empty. Throws ProfileError for a tint that is not
// three numbers.
LookParams look_params(const Json& look);

// `positive` is linear, three channels, about
// 0..1; changed in place.
void apply_look(Image& positive, const LookParams& look);
void apply_look(Image& positive, const Json& look);

}  // namespace morva
