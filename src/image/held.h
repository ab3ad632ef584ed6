// A number from a profile or an option brought within what a stage can work with.
#pragma once

#include <algorithm>
#include <cmath>

namespace morva {

// `value` held to low .. high; what is no number is the lower end.
inline double held(double value, double low, double high) {
  return value > low ? std::min(value, high) : low;
}

// A deviation either way: no fault of a lens or a plate comes near a million of its unit, be it a
// share, a degree or a pixel, and the bound keeps sums finite. What is no number is no deviation.
inline double held_finite(double value) {
  return std::isnan(value) ? 0.0 : std::clamp(value, -1e6, 1e6);
}

}  // namespace morva
