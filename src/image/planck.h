// Colour of black-body light: what lamps, daylight and film balances mean by a temperature in
// kelvin.
#pragma once

#include <array>

namespace morva {

// Linear Rec. 709 RGB of the Planck locus, at luminance 1 but for the rounding of the matrix. The
// temperature is held within 1667 .. 25000 K and each channel to at least 1e-6.
std::array<float, 3> planck_rgb(double kelvin);

// Channel by channel, how much stronger light of the first temperature is than light of the second.
std::array<double, 3> temperature_ratio(double scene_k, double film_k);

// `ratio` divided by its own luminance: gains that leave a neutral as bright as it was.
std::array<float, 3> gains_at_luminance_1(const std::array<double, 3>& ratio);

// Both in one: the cast of a scene lit at `scene_k` on a film balanced for `film_k`.
std::array<float, 3> temperature_gains(double scene_k, double film_k);

}  // namespace morva
