// A normal deviate from two uniforms, after Box and Muller (1958), without branches. One text
// serves the single form and, once for each instruction set, the vector loops, so that all give the
// same bits. Internal linkage throughout, as with the elementary formulas.
#pragma once

#include "image/vector/elementary_formulas.h"

namespace morva::elementary::formula {

// -2 ln x for 0 < x <= 1, x normal. With x = 2^k (1 + s) / (1 - s): -2 ln x = -2 k ln 2 - 4 s (1 +
// s^2 / 3 + ...); minimax, relative error 2^-50.
static inline double minus_twice_log(double x) {
  const Binary b = split_binary(x, 1023.0);
  const double f = b.mantissa - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  const double w = z * z;
  const double series = (-0x1.55555555553b8p+0 + z * -0x1.9999999b8677ap-1) +
                        w * ((-0x1.2492462af84abp-1 + z * -0x1.c71fccd953895p-2) +
                             w * (-0x1.7382dbfa1ce75p-2 + z * -0x1.546a3155bacbfp-2));
  return b.exponent * -0x1.62e42fefa39efp+0 + s * (-4.0 + z * series);
}

// The root of 0 <= x < 100: a single-precision root and one step of Newton, relative error 2^-47. A
// whole root in double takes longer than all the rest of a deviate.
static inline double root(double x) {
  const float narrow = __builtin_sqrtf(static_cast<float>(x));
  const float half_inverse = 0.5f / (narrow < 1e-18f ? 1e-18f : narrow);
  const double y = static_cast<double>(narrow);
  return y + (x - y * y) * static_cast<double>(half_inverse);
}

// The cosine of a part of a turn, 0 <= turns < 1: the sine of |turns - 1/2| - 1/4, exact in double;
// minimax, relative error 2^-52.
static inline double cos_turns(double turns) {
  const double t = magnitude(turns - 0.5) - 0.25;
  const double z = t * t;
  const double w = z * z;
  const double low = (0x1.921fb54442d17p+2 + z * -0x1.4abbce625bd83p+5) +
                     w * (0x1.466bc677522bdp+6 + z * -0x1.32d2cce1ea145p+6);
  const double high = (0x1.5078327046959p+5 + z * -0x1.e30631bdf732dp+3) +
                      w * (0x1.e89f6fe44fe7bp+1 + z * -0x1.62903d02bb153p-1);
  return t * (low + (w * w) * high);
}

// sqrt(-2 ln x) cos(2 pi turns).
static inline double normal_of(double x, double turns) {
  return root(minus_twice_log(x)) * cos_turns(turns);
}

}  // namespace morva::elementary::formula
