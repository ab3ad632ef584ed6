// Halation: light above a threshold passes the emulsion, is thrown back by the base and exposes the
// film a second time around its image, mostly in the red layer, which it reaches first.
#pragma once

#include <array>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

struct HalationParams {
  bool active = false;
  double radius_px = 1.0;
  double glass_mm = 0.0;   // thickness of a glass base; 0 for film
  float threshold = 0.8f;  // linear level above which light halates
  float strength = 0.0f;   // profile's strength times option `halation_mult`
  std::array<float, 3> tint = {1.0f, 0.3f, 0.08f};
};

inline constexpr double kGlassIndex = 1.52;  // refractive index of a plate

// `px_um`: size of a pixel on the film, micrometres. Inactive for a missing record or no strength.
HalationParams halation_params(const Json& halation, double px_um, double mult);

// Adds the halo of `source` (linear light, one channel, may be `image` itself) to `image` in place:
// one channel or three.
void halate(Image& image, const Image& source, const HalationParams& params, double px_um);

}  // namespace morva
