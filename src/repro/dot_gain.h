// Dot gain: on the press a dot of ink grows, most in the middle tones. The platemaker takes part of
// it off beforehand, and who asks for a coverage asks for what lands on the sheet.
#pragma once

#include <cstddef>

#include "repro/vector/separation_loops.h"

namespace morva {

// Where 4 * gain passes 1, dots close before the plate is full, and where 4 * gain * compensation
// does, its faintest values leave no ink: a solid then takes less than a full plate, and white more
// than an empty one.
struct DotGain {
  double gain = 0.0;          // what a dot of one half grows by
  double compensation = 0.0;  // share of it that the plate has taken off
};

// The coverage that lands from values of the plate, in place: compensated, then grown; both held
// to 0..1.
void press(float* plate, std::size_t n, const DotGain& gain);

// The plate values that land as `coverage`, in place: the inverse of press(). Without gain they are
// the coverages.
void plate_values(float* coverage, std::size_t n, const DotGain& gain);

// The curve behind both, in single precision.
vector::PressCurve press_curve(const DotGain& gain);

}  // namespace morva
