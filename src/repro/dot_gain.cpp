#include "repro/dot_gain.h"

#include "image/held.h"

namespace morva {

vector::PressCurve press_curve(const DotGain& gain) {
  const double growth = 4.0 * held_finite(gain.gain);
  return {static_cast<float>(growth * held_finite(gain.compensation)), static_cast<float>(growth)};
}

void press(float* plate, std::size_t n, const DotGain& gain) {
  vector::separation_loops().press(plate, n, press_curve(gain));
}

void plate_values(float* coverage, std::size_t n, const DotGain& gain) {
  vector::separation_loops().plate_values(coverage, n, press_curve(gain));
}

}  // namespace morva
