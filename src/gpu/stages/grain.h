// The grain of a developed density on the GPU: film/grain.h with the same choice of engine, the
// same plans and calibration, and draws by counter in place of the CPU's sequence. So the grain of
// a seed is its own here, and its statistics are the CPU's.
#pragma once

#include <array>

#include "gpu/buffer.h"
#include "gpu/stages/frame.h"
#include "profiles/hd_curve.h"

namespace morva::gpu {

// Density with base and fog in and out, changed in place: the buffer is shared by every copy of
// `density`. One channel with one curve, three with three. Takes its time under the label "морва".
// May throw Cancelled.
GImage add_grain(const Frame& frame, GImage density, const HdCurve& curve);
GImage add_grain(const Frame& frame, GImage density, const std::array<HdCurve, 3>& curves);

}  // namespace morva::gpu
