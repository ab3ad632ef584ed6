// From linear light to log exposure.
#pragma once

#include <cstddef>

namespace morva {

// log10 of the exposure relative to a mid grey (linear 0.18), shifted by `ev` stops:
// log10(max(in, 0) / 0.18 + 1e-6) + ev * log10(2), in single precision. Black lies near -6; what is
// no number counts as black. `in` and `out` may be the same array.
void log_exposure(const float* in, float* out, std::size_t n, double ev);

// That shift in log10 exposure.
float exposure_shift(double ev);

}  // namespace morva
