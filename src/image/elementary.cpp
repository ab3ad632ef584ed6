#include "image/elementary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "image/vector/elementary_formulas.h"
#include "image/vector/elementary_loops.h"

namespace morva::elementary {

namespace {

using formula::bits_of;
using formula::double_of;
using formula::kInfinity;
using formula::kNaN;
using formula::QuarterTurns;

// A number as an unevaluated sum, about 106 bits.
struct Pair {
  double hi;
  double lo;
};

// Exact when |a| >= |b| or a is 0.
Pair ordered_sum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

// The exact product, by Dekker's splitting at 27 bits.
Pair product(double a, double b) {
  const auto upper_half = [](double v) {
    const double t = v * 134217729.0;
    return t - (t - v);
  };
  const double hi = a * b;
  const double a_hi = upper_half(a), a_lo = a - a_hi;
  const double b_hi = upper_half(b), b_lo = b - b_hi;
  return {hi, ((a_hi * b_hi - hi) + a_hi * b_lo + a_lo * b_hi) + a_lo * b_lo};
}

Pair product(Pair a, Pair b) {
  const Pair p = product(a.hi, b.hi);
  return ordered_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

// a / b within about 2^-104.
Pair quotient(Pair a, Pair b) {
  const double q = a.hi / b.hi;
  const Pair p = product(q, b.hi);
  return ordered_sum(q, (((a.hi - p.hi) - p.lo) + (a.lo - q * b.lo)) / b.hi);
}

// --- Angles beyond 1600 radians: Payne and Hanek, by integers. ---

// 64 zero bits, then 2/pi after the binary point, in words of 32 bits.
constexpr std::uint32_t kTwoOverPi[] = {
    0x00000000u, 0x00000000u, 0xa2f9836eu, 0x4e441529u, 0xfc2757d1u, 0xf534ddc0u, 0xdb629599u,
    0x3c439041u, 0xfe5163abu, 0xdebbc561u, 0xb7246e3au, 0x424dd2e0u, 0x06492eeau, 0x09d1921cu,
    0xfe1deb1cu, 0xb129a73eu, 0xe88235f5u, 0x2ebb4484u, 0xe99c7026u, 0xb45f7e41u, 0x3991d639u,
    0x835339f4u, 0x9c845f8bu, 0xbdf9283bu, 0x1ff897ffu, 0xde05980fu, 0xef2f118bu, 0x5a0a6d1fu,
    0x6d367ecfu, 0x27cb09b7u, 0x4f463f66u, 0x9e5fea2du, 0x7527bac7u, 0xebe5f17bu, 0x3d0739f7u,
    0x8a5292eau, 0x6bfb5fb1u, 0x1f8d5d08u, 0x56033046u};

constexpr int kWindowWords = 6;

// x / (pi/2) modulo 4, as a fraction of 192 bits whose top two are the quadrant; lowest word first.
// The bits of 2/pi that stand above the window contribute whole turns only.
struct TurnFraction {
  std::uint32_t word[kWindowWords];
};

TurnFraction turn_fraction(double x) {
  const std::uint64_t bits = bits_of(x);
  const int exponent = static_cast<int>((bits >> 52) & 0x7ff) - 1075;
  const std::uint64_t mantissa = (bits & 0x000fffffffffffffu) | 0x0010000000000000u;
  const int first_bit = exponent - 2 + 64;
  const int first_word = first_bit / 32;
  const int shift = first_bit % 32;
  TurnFraction result = {};
  for (int i = 0; i < kWindowWords; ++i) {
    const int at = first_word + (kWindowWords - 1 - i);
    const std::uint64_t both =
        (static_cast<std::uint64_t>(kTwoOverPi[at]) << 32) | kTwoOverPi[at + 1];
    result.word[i] = static_cast<std::uint32_t>(both >> (32 - shift));
  }
  const std::uint64_t factor[2] = {mantissa & 0xffffffffu, mantissa >> 32};
  TurnFraction turns = {};
  for (int j = 0; j < 2; ++j) {
    std::uint64_t carry = 0;
    for (int i = 0; i + j < kWindowWords; ++i) {
      const std::uint64_t sum = factor[j] * result.word[i] + turns.word[i + j] + carry;
      turns.word[i + j] = static_cast<std::uint32_t>(sum);
      carry = sum >> 32;
    }
  }
  return turns;
}

// The 64 bits from bit `top` of the fraction downwards; zeros below its end.
std::uint64_t bits_below(const TurnFraction& f, int top) {
  std::uint64_t value = 0;
  for (int i = 0; i < 64; ++i) {
    const int at = top - i;
    const std::uint64_t bit = at >= 0 ? (f.word[at / 32] >> (at % 32)) & 1u : 0u;
    value = (value << 1) | bit;
  }
  return value;
}

QuarterTurns large_quarter_turns(double x) {
  TurnFraction f = turn_fraction(x);
  std::uint64_t quadrant = f.word[kWindowWords - 1] >> 30;
  // Bit 189 is one half of a quarter turn: above it, count on and measure back from the next
  // quadrant.
  const bool beyond_half = (f.word[kWindowWords - 1] >> 29) & 1u;
  if (beyond_half) {
    ++quadrant;
    std::uint64_t carry = 1;
    for (auto& word : f.word) {
      carry += static_cast<std::uint32_t>(~word);
      word = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
  }
  f.word[kWindowWords - 1] &= 0x3fffffffu;
  int top = 189;
  while (top > 64 && ((f.word[top / 32] >> (top % 32)) & 1u) == 0) --top;
  const std::uint64_t upper = bits_below(f, top);
  const double hi = static_cast<double>(upper >> 11);
  const double lo = static_cast<double>(((upper & 0x7ffu) << 42) | (bits_below(f, top - 64) >> 22));
  const double unit = std::ldexp(1.0, top - 52 - 190);
  const Pair turns = ordered_sum(hi * unit, lo * (unit * 0x1p-53));
  const Pair radians = product(turns, Pair{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54});
  const bool negative = (x < 0.0) != beyond_half;
  if (x < 0.0) quadrant = 0 - quadrant;
  return {quadrant, negative ? -radians.hi : radians.hi, negative ? -radians.lo : radians.lo};
}

// For finite x.
QuarterTurns any_quarter_turns(double x) {
  return std::fabs(x) <= 1600.0 ? formula::quarter_turns(x) : large_quarter_turns(x);
}

// FreeBSD msun, k_tan.c: tan(hi + lo) for |hi + lo| <= pi/4, or -1/tan.
double tan_near_zero(double hi, double lo, bool reciprocal) {
  constexpr double kT[] = {
      3.33333333333334091986e-01, 1.33333333333201242699e-01, 5.39682539762260521377e-02,
      2.18694882948595424599e-02, 8.86323982359930005737e-03, 3.59207910759131235356e-03,
      1.45620945432529025516e-03, 5.88041240820264096874e-04, 2.46463134818469906812e-04,
      7.81794442939557092300e-05, 7.14072491382608190305e-05, -1.85586374855275456654e-05,
      2.59073051863633712884e-05};
  constexpr double kQuarterPiLo = 3.06161699786838301793e-17;
  const bool large = std::fabs(hi) >= 0.67434;
  const double sign = hi < 0.0 ? -1.0 : 1.0;
  double x = hi, y = lo;
  if (large) {
    x = (0x1.921fb54442d18p-1 - sign * hi) + (kQuarterPiLo - sign * lo);
    y = 0.0;
  }
  const double z = x * x;
  const double w = z * z;
  const double odd = kT[1] + w * (kT[3] + w * (kT[5] + w * (kT[7] + w * (kT[9] + w * kT[11]))));
  const double even =
      z * (kT[2] + w * (kT[4] + w * (kT[6] + w * (kT[8] + w * (kT[10] + w * kT[12])))));
  const double s = z * x;
  const double r = y + z * (s * (odd + even) + y) + s * kT[0];
  const double t = x + r;
  if (large) {
    const double v = reciprocal ? -1.0 : 1.0;
    return sign * (v - 2.0 * (x - (t * t / (t + v) - r)));
  }
  if (!reciprocal) return t;
  const Pair inverse = quotient({-1.0, 0.0}, ordered_sum(x, r));
  return inverse.hi + inverse.lo;
}

// ln(x) for finite x > 0, within about 2^-65: 2 s (1 + s^2/3 + s^4/5 + ...), s = (m - 1) / (m + 1).
Pair log_pair(double x) {
  const formula::Binary b = formula::split_any_binary(x);
  const double sum = b.mantissa + 1.0;
  const Pair s = quotient({b.mantissa - 1.0, 0.0}, {sum, b.mantissa - (sum - 1.0)});
  const Pair z = product(s, s);
  double series = 0.0;
  for (int odd = 29; odd >= 5; odd -= 2) series = series * z.hi + 1.0 / odd;
  const Pair third = product(z, Pair{0x1.5555555555555p-2, 0x1.5555555555555p-56});
  const Pair factor = ordered_sum(third.hi, third.lo + z.hi * z.hi * series);
  const Pair bend = product(s, factor);
  const Pair head = ordered_sum(s.hi, bend.hi);
  const Pair log_m = ordered_sum(2.0 * head.hi, 2.0 * (head.lo + (s.lo + bend.lo)));
  const Pair total = ordered_sum(b.exponent * formula::kLn2Hi, log_m.hi);
  if (b.exponent == 0.0) return log_m;
  return ordered_sum(total.hi, total.lo + (log_m.lo + b.exponent * formula::kLn2Lo));
}

// e^(p.hi + p.lo) for p.hi within -750 .. 710.
double exp_of_pair(Pair p) {
  const double k = std::nearbyint(p.hi * formula::kInvLn2);
  const double y = formula::exp_near_one(p.hi - k * formula::kLn2Hi, k * formula::kLn2Lo - p.lo);
  const int power = static_cast<int>(k);
  return (y * std::ldexp(1.0, power / 2)) * std::ldexp(1.0, power - power / 2);
}

constexpr std::size_t kBlock = 2048;  // floats that stay in the first cache between copy and loop

template <typename Loop>
void in_blocks(const float* in, float* out, std::size_t n, Loop loop) {
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = std::min(kBlock, n - done);
    if (in != out) std::copy_n(in + done, count, out + done);
    loop(out + done, count);
  }
}

}  // namespace

double exp(double x) {
  return formula::exp_all(x);
}
double log(double x) {
  return formula::log_all(x);
}
double log10(double x) {
  return formula::log10_all(x);
}

double pow(double base, double exponent) {
  if (exponent == 0.0 || base == 1.0) return 1.0;
  if (std::isnan(base) || std::isnan(exponent) || base < 0.0) return kNaN;
  const bool grows = (base > 1.0) == (exponent > 0.0);
  if (base == 0.0 || base == kInfinity || std::isinf(exponent)) return grows ? kInfinity : 0.0;
  // Past 2^65 every power of a base other than 1 is out of range, and the exact product would
  // overflow.
  const double bounded = std::clamp(exponent, -0x1p65, 0x1p65);
  const Pair log_base = log_pair(base);
  const Pair p = product(log_base.hi, bounded);
  if (p.hi > 710.0) return kInfinity;
  if (p.hi < -750.0) return 0.0;
  return exp_of_pair(ordered_sum(p.hi, p.lo + log_base.lo * bounded));
}

double sin(double radians) {
  if (!std::isfinite(radians)) return kNaN;
  if (std::fabs(radians) < 0x1p-26) return radians;
  const QuarterTurns t = any_quarter_turns(radians);
  return formula::sin_of_turns(t.quadrant, t.hi, t.lo);
}

double cos(double radians) {
  if (!std::isfinite(radians)) return kNaN;
  const QuarterTurns t = any_quarter_turns(radians);
  return formula::sin_of_turns(t.quadrant + 1, t.hi, t.lo);
}

double tan(double radians) {
  if (!std::isfinite(radians)) return kNaN;
  if (std::fabs(radians) < 0x1p-27) return radians;
  const QuarterTurns t = any_quarter_turns(radians);
  return tan_near_zero(t.hi, t.lo, (t.quadrant & 1) != 0);
}

// FreeBSD msun, s_atan.c: the angle from the nearest of 0, atan 1/2, pi/4, atan 3/2 and pi/2.
double atan(double x) {
  constexpr double kAt[] = {
      3.33333333333329318027e-01,  -1.99999999998764832476e-01, 1.42857142725034663711e-01,
      -1.11111104054623557880e-01, 9.09088713343650656196e-02,  -7.69187620504482999495e-02,
      6.66107313738753120669e-02,  -5.83357013379057348645e-02, 4.97687799461593236017e-02,
      -3.65315727442169155270e-02, 1.62858201153657823623e-02};
  constexpr Pair kAngle[] = {{4.63647609000806093515e-01, 2.26987774529616870924e-17},
                             {7.85398163397448278999e-01, 3.06161699786838301793e-17},
                             {9.82793723247329054082e-01, 1.39033110312309984516e-17},
                             {1.57079632679489655800e+00, 6.12323399573676603587e-17}};
  if (std::isnan(x)) return kNaN;
  const double a = std::min(std::fabs(x), 0x1p66);
  if (a < 0x1p-27) return x;
  int from = -1;
  double t = a;
  if (a >= 2.4375) {
    from = 3, t = -1.0 / a;
  } else if (a >= 1.1875) {
    from = 2, t = (a - 1.5) / (1.0 + 1.5 * a);
  } else if (a >= 0.6875) {
    from = 1, t = (a - 1.0) / (a + 1.0);
  } else if (a >= 0.4375) {
    from = 0, t = (2.0 * a - 1.0) / (2.0 + a);
  }
  const double z = t * t;
  const double w = z * z;
  const double odd =
      z * (kAt[0] + w * (kAt[2] + w * (kAt[4] + w * (kAt[6] + w * (kAt[8] + w * kAt[10])))));
  const double even = w * (kAt[1] + w * (kAt[3] + w * (kAt[5] + w * (kAt[7] + w * kAt[9]))));
  const double bend = t * (odd + even);
  const double angle = from < 0 ? t - bend : kAngle[from].hi - ((bend - kAngle[from].lo) - t);
  return std::copysign(angle, x);
}

double atan2(double y, double x) {
  constexpr Pair kPi = {3.14159265358979311600e+00, 1.22464679914735317636e-16};
  if (std::isnan(x) || std::isnan(y)) return kNaN;
  const double a = std::fabs(x), b = std::fabs(y);
  const bool on_diagonal = a == b && a != 0.0;  // also of two infinities
  const double slope = b == 0.0 ? 0.0 : on_diagonal ? 1.0 : b / a;
  const double angle = atan(slope);
  return std::copysign(std::signbit(x) ? kPi.hi - (angle - kPi.lo) : angle, y);
}

// (e^2a - 1) / (e^2a + 1), both sides and their quotient as pairs.
double tanh(double x) {
  if (std::isnan(x)) return kNaN;
  const double a = std::min(std::fabs(x), 22.0);
  if (a < 0x1p-28) return x;
  const double k = std::nearbyint(2.0 * a * formula::kInvLn2);
  const Pair r = ordered_sum(2.0 * a - k * formula::kLn2Hi, -(k * formula::kLn2Lo));
  const Pair rise = ordered_sum(r.hi, r.lo + (r.hi * r.hi) * formula::exp_series(r.hi));
  const double scale = std::ldexp(1.0, static_cast<int>(k));
  const Pair grown = {scale * rise.hi, scale * rise.lo};  // e^2a - 2^k
  const auto plus = [&grown](Pair whole) {
    if (whole.hi == 0.0) return grown;
    const Pair sum = ordered_sum(whole.hi, grown.hi);
    return ordered_sum(sum.hi, sum.lo + (grown.lo + whole.lo));
  };
  const Pair ratio = quotient(plus(ordered_sum(scale, -1.0)), plus(ordered_sum(scale, 1.0)));
  return std::copysign(ratio.hi + ratio.lo, x);
}

float expf(float x) {
  return formula::expf_of(x);
}
float logf(float x) {
  return formula::logf_of(x);
}
float log10f(float x) {
  return formula::log10f_of(x);
}
float tanhf(float x) {
  return formula::tanhf_of(x);
}

float powf(float base, float exponent) {
  return formula::powf_of_log2(formula::log2_of_base(base), static_cast<double>(exponent));
}

void expf(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().exp);
}

void logf(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().log);
}

void log10f(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().log10);
}

void powf(const float* base, float exponent, float* out, std::size_t n) {
  const auto loop = vector::elementary_loops().pow;
  in_blocks(base, out, n, [=](float* block, std::size_t count) { loop(block, count, exponent); });
}

void exp2f(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().exp2);
}

void exp10f(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().exp10);
}

void tanhf(const float* in, float* out, std::size_t n) {
  in_blocks(in, out, n, vector::elementary_loops().tanh);
}

}  // namespace morva::elementary
