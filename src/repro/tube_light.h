// The tube's light on its way to the picture that is taken of it: the glow in the glass, the
// camera's blur, the tube's response and the colour of its white or of its one phosphor.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "image/image.h"

namespace morva {

// In place of the picture: `share` of its light spread by a Gaussian of `sigma_px`.
Image glow(Image picture, double share, double sigma_px);

// The blur of the camera before the screen; below 0.3 pixels none.
Image photograph(Image picture, double sigma_px);

// Light of the screen over the signal's, 0 .. 4 in 1024 steps. 1 is the white of an even field; the
// phosphors between the gaps of a mask are brighter.
std::vector<float> tube_response();

// Linear RGB of a monochrome tube's phosphor. Throws std::out_of_range for a name that is none.
std::array<float, 3> phosphor_tint(const std::string& name);

struct ScreenColour {
  double white_k = 6500.0;  // the tube's white, to which the eye adapts by a share of `adapt`
  double adapt = 0.5;
  std::optional<std::array<float, 3>> tint;  // of a monochrome tube
};

// In place: the response, then the colour. Light comes out within 0..1; what is no number is dark.
void show_light(Image& picture, const ScreenColour& colour);

}  // namespace morva
