// The formulas behind the elementary functions, without branches, in plain double arithmetic. The
// same text is compiled into the single forms and, once for each instruction set, into the vector
// loops; since nothing is contracted or reordered, all of them give the same bits.
//
// Internal linkage throughout: a copy made for a wider instruction set must never serve another
// file. Integers are unsigned 64-bit and kept to adding, shifting and masking, which every set has
// in vectors.
#pragma once

#include <cstdint>

namespace morva::elementary::formula {

static inline std::uint64_t bits_of(double x) {
  return __builtin_bit_cast(std::uint64_t, x);
}
static inline double double_of(std::uint64_t bits) {
  return __builtin_bit_cast(double, bits);
}

static constexpr double kInfinity = __builtin_huge_val();
static constexpr double kNaN = __builtin_nan("");
static constexpr std::uint64_t kSignBit = 0x8000000000000000u;

// ln 2 as 32 leading bits and the rest: k * kLn2Hi is exact for every exponent k.
static constexpr double kLn2Hi = 0x1.62e42feep-1;
static constexpr double kLn2Lo = 0x1.a39ef35793c76p-33;
static constexpr double kInvLn2 = 0x1.71547652b82fep+0;

static inline double magnitude(double x) {
  return double_of(bits_of(x) & ~kSignBit);
}

static inline double with_sign_of(double value, double sign) {
  return double_of(bits_of(value) | (bits_of(sign) & kSignBit));
}

// NaN passes.
static inline double clamp(double x, double low, double high) {
  const double raised = x < low ? low : x;
  return raised > high ? high : raised;
}

// Adding this constant rounds |x| < 2^51 to an integer, which stands in the low bits of the sum.
static constexpr double kRounder = 0x1.8p52;

// 2^k for -1022 <= k <= 1023, k given modulo 2^12.
static inline double power_of_two(std::uint64_t k) {
  return double_of((k + 1023) << 52);
}

// --- Exponential: Cody-Waite reduction to |r| <= ln 2 / 2, then the Taylor series to r^13. ---

// (e^r - 1 - r) / r^2, with less than 2^-57 left out; summed after Estrin.
static inline double exp_series(double r) {
  const double r2 = r * r;
  const double r4 = r2 * r2;
  const double c2 = (1.0 / 2.0 + r * (1.0 / 6.0)) + r2 * (1.0 / 24.0 + r * (1.0 / 120.0));
  const double c6 =
      (1.0 / 720.0 + r * (1.0 / 5040.0)) + r2 * (1.0 / 40320.0 + r * (1.0 / 362880.0));
  const double c10 = (1.0 / 3628800.0 + r * (1.0 / 39916800.0)) +
                     r2 * (1.0 / 479001600.0 + r * (1.0 / 6227020800.0));
  return c2 + r4 * (c6 + r4 * c10);
}

// e^(hi - lo) near 1; the larger part is added last.
static inline double exp_near_one(double hi, double lo) {
  const double r = hi - lo;
  return 1.0 + (hi - (lo - (r * r) * exp_series(r)));
}

// The scale is split in two, so that only the last product can leave the range of normal numbers.
static inline double exp_all(double x) {
  const double bounded = clamp(x, -750.0, 710.0);
  const double shifted = bounded * kInvLn2 + kRounder;
  const double k = shifted - kRounder;
  const double y = exp_near_one(bounded - k * kLn2Hi, k * kLn2Lo);
  const std::uint64_t twice = bits_of(shifted) - bits_of(kRounder) + 2200;
  const std::uint64_t half = twice >> 1;
  return x == x ? (y * power_of_two(half - 1100)) * power_of_two(twice - half - 1100) : kNaN;
}

// --- Logarithm: x = 2^k * m with m in [sqrt(1/2), sqrt(2)); polynomial of FreeBSD msun, e_log.c.
// ---

struct Binary {
  double exponent;
  double mantissa;
};

// For positive normal x; any other gives some number or NaN. `bias` is 1023, more where x was
// scaled up.
static inline Binary split_binary(double x, double bias) {
  constexpr std::uint64_t kSqrtHalf = 0x3fe6a09e667f3bcdu;
  constexpr std::uint64_t kOne = 0x3ff0000000000000u;
  constexpr std::uint64_t kTwoTo52 = 0x4330000000000000u;
  const std::uint64_t u = bits_of(x) + (kOne - kSqrtHalf);
  return {double_of((u >> 52) | kTwoTo52) - (0x1p52 + bias),
          double_of((u & 0x000fffffffffffffu) + kSqrtHalf)};
}

// With f = mantissa - 1: ln(1 + f) = f - half_square + correction.
struct LogParts {
  double f;
  double half_square;
  double correction;
};

static inline LogParts log_parts(double mantissa) {
  const double f = mantissa - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  const double w = z * z;
  const double even = w * (3.999999999940941908e-01 +
                           w * (2.222219843214978396e-01 + w * 1.531383769920937332e-01));
  const double odd = z * (6.666666666666735130e-01 +
                          w * (2.857142874366239149e-01 +
                               w * (1.818357216161805012e-01 + w * 1.479819860511658591e-01)));
  const double half_square = 0.5 * f * f;
  return {f, half_square, s * (half_square + (even + odd))};
}

static inline double log_of_parts(Binary x) {
  const LogParts p = log_parts(x.mantissa);
  return x.exponent * kLn2Hi - ((p.half_square - (p.correction + x.exponent * kLn2Lo)) - p.f);
}

// FreeBSD msun, e_log10.c: the leading part is kept to 32 bits, so that its product with 1/ln(10)
// is exact.
static inline double log10_of_parts(Binary x) {
  constexpr double kInvLn10Hi = 0x1.bcb7bp-2;
  constexpr double kInvLn10Lo = 0x1.526e50e32a6abp-26;
  constexpr double kLog10Of2Hi = 0x1.34413508p-2;
  constexpr double kLog10Of2Lo = 0x1.f79fef311f12bp-34;
  const LogParts p = log_parts(x.mantissa);
  const double hi = double_of(bits_of(p.f - p.half_square) & 0xffffffff00000000u);
  const double lo = ((p.f - hi) - p.half_square) + p.correction;
  const double from_exponent = x.exponent * kLog10Of2Hi;
  const double from_hi = hi * kInvLn10Hi;
  const double sum = from_exponent + from_hi;
  const double rest = (x.exponent * kLog10Of2Lo + (lo + hi) * kInvLn10Lo + lo * kInvLn10Hi) +
                      ((from_exponent - sum) + from_hi);
  return rest + sum;
}

// `value` where x is positive and finite, else what a logarithm gives there.
static inline double log_limits(double x, double value) {
  const double positive = x < kInfinity ? value : kInfinity;
  const double other = x == 0.0 ? -kInfinity : kNaN;
  return x > 0.0 ? positive : other;
}

static inline Binary split_any_binary(double x) {
  const bool subnormal = x < 0x1p-1022;
  return split_binary(subnormal ? x * 0x1p54 : x, subnormal ? 1077.0 : 1023.0);
}

static inline double log_all(double x) {
  return log_limits(x, log_of_parts(split_any_binary(x)));
}
static inline double log10_all(double x) {
  return log_limits(x, log10_of_parts(split_any_binary(x)));
}

// --- Sine and cosine of |x| <= 1600, in radians. ---

// Nearest multiple of pi/2, in the low bits of `quadrant`, and what remains, as hi + lo.
struct QuarterTurns {
  std::uint64_t quadrant;
  double hi;
  double lo;
};

// Cody and Waite with pi/2 in parts of 43, 43 and 53 bits: the first two products are exact for up
// to 1024 quarter turns, so the remainder is right even where x is next to a multiple of pi/2.
static inline QuarterTurns quarter_turns(double x) {
  const double shifted = x * 0x1.45f306dc9c883p-1 + kRounder;
  const double n = shifted - kRounder;
  const double first = x - n * 0x1.921fb54442c00p+0;
  const double second = n * 0x1.18469898cc400p-44;
  const double left = first - second;
  const double third = n * 0x1.1701b839a2520p-88 - ((first - left) - second);
  const double hi = left - third;
  return {bits_of(shifted), hi, (left - hi) - third};
}

// Polynomials of FreeBSD msun, k_sin.c and k_cos.c, for |hi + lo| <= pi/4.
static inline double sin_near_zero(double hi, double lo) {
  const double z = hi * hi;
  const double w = z * z;
  const double r = 8.33333333332248946124e-03 +
                   z * (-1.98412698298579493134e-04 + z * 2.75573137070700676789e-06) +
                   z * w * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10);
  const double v = z * hi;
  return hi - ((z * (0.5 * lo - v * r) - lo) - v * -1.66666666666666324348e-01);
}

static inline double cos_near_zero(double hi, double lo) {
  const double z = hi * hi;
  const double w = z * z;
  const double r = z * (4.16666666666666019037e-02 +
                        z * (-1.38888888888741095749e-03 + z * 2.48015872894767294178e-05)) +
                   w * w *
                       (-2.75573143513906633035e-07 +
                        z * (2.08757232129817482790e-09 + z * -1.13596475577881948265e-11));
  const double half_square = 0.5 * z;
  const double one_minus = 1.0 - half_square;
  return one_minus + (((1.0 - one_minus) - half_square) + (z * r - hi * lo));
}

// The sine after `quadrant` quarter turns; one more turn makes it the cosine.
static inline double sin_of_turns(std::uint64_t quadrant, double hi, double lo) {
  const std::uint64_t odd = 0 - (quadrant & 1);
  const std::uint64_t value =
      (bits_of(cos_near_zero(hi, lo)) & odd) | (bits_of(sin_near_zero(hi, lo)) & ~odd);
  return double_of(value ^ ((quadrant & 2) << 62));
}

static inline double cos_moderate(double x) {
  const QuarterTurns t = quarter_turns(x);
  return sin_of_turns(t.quadrant + 1, t.hi, t.lo);
}

// --- Float forms: double arithmetic with shorter series, good to 2^-40, and one rounding at the
// end. ---

// (2^r - 1) / r for |r| <= 1/2; minimax, relative error 2^-44.
static inline double exp2_slope(double r) {
  const double r2 = r * r;
  const double r4 = r2 * r2;
  const double low = (0x1.62e42fefa39ffp-1 + r * 0x1.ebfbdff823ce7p-3) +
                     r2 * (0x1.c6b08d70403d3p-5 + r * 0x1.3b2ab7181c230p-7);
  const double high = (0x1.5d87fe9a2287dp-10 + r * 0x1.4308ac844caf3p-13) +
                      r2 * (0x1.ffcb57d52a51ep-17 + r * 0x1.63d137c8a9fd0p-20);
  return low + r4 * (high + r4 * 0x1.b675c1840454ap-24);
}

// 2^t as a float. Past 2^-200 and 2^200 no float is left to tell apart.
static inline float exp2_narrow(double t) {
  const double bounded = clamp(t, -200.0, 200.0);
  const double shifted = bounded + kRounder;
  const double r = bounded - (shifted - kRounder);
  const double y = (1.0 + r * exp2_slope(r)) * power_of_two(bits_of(shifted));
  return static_cast<float>(t == t ? y : kNaN);
}

// log2 of a positive float. log2((1 + s) / (1 - s)) = s (2 / ln 2 + s^2 P(s^2)); minimax, 2^-41.
static inline double log2_positive(double x) {
  const Binary b = split_binary(x, 1023.0);
  const double f = b.mantissa - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  const double w = z * z;
  const double series =
      (0x1.ec709dc3b7049p-1 + z * 0x1.2776c478af518p-1) +
      w * ((0x1.a6189fe7a49a6p-2 + z * 0x1.47d62916e1dc6p-2) + w * 0x1.1e125a7b08922p-2);
  return b.exponent + s * (0x1.71547652b82fep+1 + z * series);
}

static inline float expf_of(float x) {
  return exp2_narrow(static_cast<double>(x) * 0x1.71547652b82fep+0);
}

static inline float logf_of(float x) {
  const double wide = static_cast<double>(x);
  return static_cast<float>(log_limits(wide, log2_positive(wide) * 0x1.62e42fefa39efp-1));
}

static inline float log10f_of(float x) {
  const double wide = static_cast<double>(x);
  return static_cast<float>(log_limits(wide, log2_positive(wide) * 0x1.34413509f79ffp-2));
}

static inline double log2_of_base(float base) {
  const double wide = static_cast<double>(base);
  return log_limits(wide, log2_positive(wide));
}

// An exponent of 0 and a base of 1 give 1, also beside NaN.
static inline float powf_of_log2(double log2_base, double exponent) {
  const float y = exp2_narrow(exponent * log2_base);
  return exponent == 0.0 || log2_base == 0.0 ? 1.0f : y;
}

// (e^2a - 1) / (e^2a + 1) with e^2a = 2^(k + r) and e^2a - 1 = 2^k (2^r - 1) + (2^k - 1), which
// keeps its digits near 0.
static inline float tanhf_of(float x) {
  const double wide = static_cast<double>(x);
  const double t = clamp(magnitude(wide), 0.0, 22.0) * 0x1.71547652b82fep+1;
  const double shifted = t + kRounder;
  const double r = t - (shifted - kRounder);
  const double scale = power_of_two(bits_of(shifted));
  const double rise = scale * (r * exp2_slope(r)) + (scale - 1.0);
  const double y = with_sign_of(rise / (rise + 2.0), wide);
  return static_cast<float>(wide == wide ? y : kNaN);
}

}  // namespace morva::elementary::formula
