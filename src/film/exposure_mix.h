// What the emulsion sees of the scene's colour: the light's temperature against the stock's
// balance, the false colours of infrared film, and how the layers' sensitivities overlap. Linear
// light in and out.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Colour temperature of the light that the scene is lit by, kelvin: the film's own balance under
// `wb_mode` "custom", daylight of 5500 K otherwise.
double scene_temperature_k(const Json& film, const Json& options);

// Gains that a light of `scene_k` shows on the film's balance, with luminance held; nothing when
// the two are within 1 K.
std::optional<std::array<float, 3>> film_balance_gains(const Json& film, double scene_k);

// Weights of R, G, B (their sum is 1) and of chlorophyll's infrared glow.
std::array<float, 4> ir_mix(const Json& ir_proxy);

// The film's layer matrix under `key`, each row summing to 1; nothing when it is absent or the
// identity. Throws ProfileError when it does not hold nine numbers.
std::optional<std::array<float, 9>> sensitization_matrix(const Json& film, const char* key);

// All of it, in the order of the light's path.
struct ExposureMix {
  std::optional<std::array<float, 3>> balance;   // gains
  std::optional<std::array<float, 4>> infrared;  // weights of ir_mix()
  std::vector<std::array<float, 9>> layers;      // matrices, one after the other
};

ExposureMix exposure_mix(const Json& film, const Json& options);

// On three channels, in place.
void apply_exposure_mix(Image& scene, const Json& film, const Json& options);

}  // namespace morva
