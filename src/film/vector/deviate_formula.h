// The standard normal deviate of a uniform, without branches: one text for the single form and for
// the vector loops, which therefore give the same bits. Internal linkage throughout, as with the
// elementary formulas.
#pragma once

#include "image/vector/elementary_formulas.h"

namespace morva::elementary::formula {

// c[0] + r (c[1] + r (...)), eight terms, summed after Estrin.
static inline double octic(const double (&c)[8], double r) {
  const double r2 = r * r;
  const double r4 = r2 * r2;
  const double low = (c[0] + r * c[1]) + r2 * (c[2] + r * c[3]);
  const double high = (c[4] + r * c[5]) + r2 * (c[6] + r * c[7]);
  return low + r4 * high;
}

// sqrt(2) erfinv(2u - 1), u clamped to 1e-7 .. 0.9999999: the rational approximation PPND16 of
// Wichura's algorithm AS 241 (1988), within 2e-15, where Newton's method has nothing left to mend.
// Its third piece, for tails below 1e-11, has no use here.
static inline double deviate_of(float u) {
  constexpr double a[8] = {3.3871328727963666080e0,  1.3314166789178437745e+2,
                           1.9715909503065514427e+3, 1.3731693765509461125e+4,
                           4.5921953931549871457e+4, 6.7265770927008700853e+4,
                           3.3430575583588128105e+4, 2.5090809287301226727e+3};
  constexpr double b[8] = {1.0,
                           4.2313330701600911252e+1,
                           6.8718700749205790830e+2,
                           5.3941960214247511077e+3,
                           2.1213794301586595867e+4,
                           3.9307895800092710610e+4,
                           2.8729085735721942674e+4,
                           5.2264952788528545610e+3};
  constexpr double c[8] = {1.42343711074968357734e0,  4.63033784615654529590e0,
                           5.76949722146069140550e0,  3.64784832476320460504e0,
                           1.27045825245236838258e0,  2.41780725177450611770e-1,
                           2.27238449892691845833e-2, 7.74545014278341407640e-4};
  constexpr double d[8] = {1.0,
                           2.05319162663775882187e0,
                           1.67638483018380384940e0,
                           6.89767334985100004550e-1,
                           1.48103976427480074590e-1,
                           1.51986665636164571966e-2,
                           5.47593808499534494600e-4,
                           1.05075007164441684324e-9};
  const float raised = u < 1e-7f ? 1e-7f : u;
  const double p = static_cast<double>(raised > 0.9999999f ? 0.9999999f : raised);
  const double q = p - 0.5;
  const double tail = p < 0.5 ? p : 1.0 - p;
  const double near = 0.180625 - q * q;
  const double central = q * (octic(a, near) / octic(b, near));
  const double far = __builtin_sqrt(-log_of_parts(split_binary(tail, 1023.0))) - 1.6;
  const double outer = with_sign_of(octic(c, far) / octic(d, far), q);
  return magnitude(q) <= 0.425 ? central : outer;
}

}  // namespace morva::elementary::formula
