// A normal deviate from two uniforms, after Box and Muller (1958), without branches. One text
// serves the single form and, once for each instruction set, the vector loops, so that all give the
// same bits. Internal linkage throughout, as with the elementary formulas.
#pragma once

#include "image/vector/elementary_formulas.h"

namespace morva::elementary::formula {

// -2 ln x for 0 < x <= 1, x normal. With x = 2^k (1 + s) / (1 - s): -2 ln x = -2 k ln 2 - 4 s (1 +
// s^2 / 3 + ...); minimax, relative error 2^-43.
static inline double minus_twice_log(double x) {
  const Binary b = split_binary(x, 1023.0);
  const double f = b.mantissa - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  const double w = z * z;
  const double series = (-0x1.5555555564e96p+0 + z * -0x1.999998cafbf2ap-1) +
                        w * ((-0x1.249323e4d7fc7p-1 + z * -0x1.c67ada017cf97p-2) +
                             w * -0x1.8c8c11e54d389p-2);
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
// minimax, relative error 2^-43.
static inline double cos_turns(double turns) {
  const double t = magnitude(turns - 0.5) - 0.25;
  const double z = t * t;
  const double w = z * z;
  const double low = (0x1.921fb54442bb4p+2 + z * -0x1.4abbce624ad99p+5) +
                     w * (0x1.466bc66ed3d1cp+6 + z * -0x1.32d2c9b2d1df5p+6);
  const double high =
      (0x1.50770f6a5a66bp+5 + z * -0x1.e29b82ab98ea9p+3) + w * 0x1.d53abdeb199c1p+1;
  return t * (low + (w * w) * high);
}

// sqrt(-2 ln x) cos(2 pi turns).
static inline double normal_of(double x, double turns) {
  return root(minus_twice_log(x)) * cos_turns(turns);
}

}  // namespace morva::elementary::formula
