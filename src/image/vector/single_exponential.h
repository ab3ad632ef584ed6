// The exponential in single-precision arithmetic throughout: two to three times the throughput of
// the forms that are right to the last bit, for uses that a relative error of 2^-22 cannot harm.
// Internal linkage throughout, as with the elementary formulas.
#pragma once

#include <cstdint>

namespace morva::elementary::formula {

// Adding this constant rounds |x| < 2^22 to an integer, which stands in the low bits of the sum.
static constexpr float kSingleRounder = 0x1.8p23f;

static inline float scaled_by_power_of_two(float y, float shifted) {
  const std::uint32_t exponent = __builtin_bit_cast(std::uint32_t, shifted) << 23;
  return __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, y) + exponent);
}

// e^r for |r| <= ln 2 / 2; minimax.
static inline float exp_near_zero(float r) {
  const float r2 = r * r;
  const float low = 0x1p-1f + r * 0x1.55547cp-3f;
  const float high = 0x1.5554e8p-5f + r * (0x1.123d82p-7f + r * 0x1.6d4316p-10f);
  return 1.0f + (r + r2 * (low + r2 * high));
}

// Past -87 and 88 as there.
static inline float bounded_exponent(float x) {
  const float raised = x < -87.0f ? -87.0f : x;
  return raised > 88.0f ? 88.0f : raised;
}

static inline float single_exp(float x) {
  const float bounded = bounded_exponent(x);
  const float shifted = bounded * 0x1.715476p+0f + kSingleRounder;
  const float k = shifted - kSingleRounder;
  const float r = (bounded - k * 0x1.62e4p-1f) - k * 0x1.7f7d1cp-20f;  // ln 2 in two parts
  return scaled_by_power_of_two(exp_near_zero(r), shifted);
}

// 10^x, past -37 and 38 as there.
static inline float single_exp10(float x) {
  const float raised = x < -37.0f ? -37.0f : x;
  const float bounded = raised > 38.0f ? 38.0f : raised;
  const float shifted = bounded * 0x1.a934fp+1f + kSingleRounder;
  const float k = shifted - kSingleRounder;
  const float r = (bounded - k * 0x1.344p-2f) - k * 0x1.3509f8p-18f;  // log10 2 in two parts
  return scaled_by_power_of_two(exp_near_zero(r * 0x1.26bb1cp+1f), shifted);
}

}  // namespace morva::elementary::formula
