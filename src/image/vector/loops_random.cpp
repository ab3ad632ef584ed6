// Compiled once for each instruction set. Results pass through blocks on the stack, so that the
// vectoriser need not ask whether arrays overlap.

#include "image/vector/elementary_formulas.h"
#include "image/vector/random_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

namespace formula = morva::elementary::formula;

constexpr std::size_t kBlock = 256;
constexpr double kTwoPi = 0x1.921fb54442d18p+2;

// The logarithm of 0 < x <= 1, x normal, and the cosine of 0 <= angle <= 2 pi: no limits to look
// at.
inline double normal_of(double x, double turns) {
  const double log_x = formula::log_of_parts(formula::split_binary(x, 1023.0));
  return __builtin_sqrt(-2.0 * log_x) * formula::cos_moderate(kTwoPi * turns);
}

// 24 bits as a number in [0, 1); the bits become the mantissa of a double near 2^52.
inline double uniform_of(std::uint64_t counter) {
  const std::uint64_t z = (counter ^ (counter >> 30)) * 0xbf58476d1ce4e5b9u;
  const std::uint64_t v = ((z ^ (z >> 27)) * 0x94d049bb133111ebu) >> 40;
  return (formula::double_of(v | 0x4330000000000000u) - 0x1p52) * 0x1p-24;
}

void normals(const double* u1, const double* u2, float* out, std::size_t n) {
  float block[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = n - done < kBlock ? n - done : kBlock;
    for (std::size_t i = 0; i < count; ++i)
      block[i] = static_cast<float>(normal_of(1.0 - u1[done + i], u2[done + i]));
    __builtin_memcpy(out + done, block, count * sizeof(float));
  }
}

void counter_uniforms(std::uint64_t first, float* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    out[i] = static_cast<float>(uniform_of(first + i * kGoldenStep));
}

void counter_normals(std::uint64_t first, float* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const double a = uniform_of(first + 2 * i * kGoldenStep);
    const double b = uniform_of(first + 2 * i * kGoldenStep + kGoldenStep);
    out[i] = static_cast<float>(normal_of(a < 0x1p-24 ? 0x1p-24 : a, b));
  }
}

constexpr RandomLoops kLoops = {normals, counter_uniforms, counter_normals};

}  // namespace

const RandomLoops& random_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
