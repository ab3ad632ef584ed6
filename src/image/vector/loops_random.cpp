// Compiled once for each instruction set. Results pass through blocks on the stack, so that the
// vectoriser need not ask whether arrays overlap.

#include "image/vector/normal_formula.h"
#include "image/vector/random_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

namespace formula = morva::elementary::formula;

constexpr std::size_t kBlock = 256;
constexpr std::size_t kGeneratorBlock = 32;  // elements of each generator at a time
constexpr std::size_t kDraws = kGeneratorBlock * kGenerators;

// 24 bits as a number in [0, 1); the bits become the mantissa of a double near 2^52.
inline double uniform_of(std::uint64_t counter) {
  const std::uint64_t z = (counter ^ (counter >> 30)) * 0xbf58476d1ce4e5b9u;
  const std::uint64_t v = ((z ^ (z >> 27)) * 0x94d049bb133111ebu) >> 40;
  return (formula::double_of(v | 0x4330000000000000u) - 0x1p52) * 0x1p-24;
}

// 53 bits as a number in [0, 1), exact. Where a set lacks the conversion, the bits go through the
// mantissas of 2^84 and 2^52.
inline double uniform_of_bits(std::uint64_t draw) {
  const std::uint64_t bits = draw >> 11;
#if defined(__AVX512DQ__)
  return static_cast<double>(bits) * 0x1p-53;
#else
  const double high = formula::double_of(bits >> 32 | 0x4530000000000000u);
  const double low = formula::double_of((bits & 0xffffffffu) | 0x4330000000000000u);
  return ((high - (0x1p84 + 0x1p52)) + low) * 0x1p-53;
#endif
}

// A word of each generator.
#if defined(__GNUC__)
using Words = std::uint64_t __attribute__((vector_size(kGenerators * sizeof(std::uint64_t))));
#else
struct Words {
  std::uint64_t at[kGenerators];
};
template <typename Operation>
inline Words each_word(const Words& a, Operation operation) {
  Words result;
  for (std::size_t l = 0; l < kGenerators; ++l) result.at[l] = operation(a.at[l], l);
  return result;
}
inline Words operator<<(const Words& a, int b) {
  return each_word(a, [b](std::uint64_t x, std::size_t) { return x << b; });
}
inline Words operator>>(const Words& a, int b) {
  return each_word(a, [b](std::uint64_t x, std::size_t) { return x >> b; });
}
inline Words operator|(const Words& a, const Words& b) {
  return each_word(a, [&b](std::uint64_t x, std::size_t l) { return x | b.at[l]; });
}
inline Words operator^(const Words& a, const Words& b) {
  return each_word(a, [&b](std::uint64_t x, std::size_t l) { return x ^ b.at[l]; });
}
inline Words operator+(const Words& a, const Words& b) {
  return each_word(a, [&b](std::uint64_t x, std::size_t l) { return x + b.at[l]; });
}
inline Words& operator^=(Words& a, const Words& b) {
  return a = a ^ b;
}
#endif

struct States {
  Words s0, s1, s2, s3;
};

inline States states_of(const Generators& generators) {
  States states;
  __builtin_memcpy(&states, &generators, sizeof states);
  return states;
}

// Rng::next() of all generators; times 5 and 9 as shifts and sums.
inline void next(States& g, std::uint64_t* out) {
  const Words five = (g.s1 << 2) + g.s1;
  const Words turned = (five << 7) | (five >> 57);
  const Words result = (turned << 3) + turned;
  const Words t = g.s1 << 17;
  g.s2 ^= g.s0;
  g.s3 ^= g.s1;
  g.s1 ^= g.s2;
  g.s0 ^= g.s3;
  g.s2 ^= t;
  g.s3 = (g.s3 << 45) | (g.s3 >> 19);
  __builtin_memcpy(out, &result, sizeof result);
}

// A block of each generator's elements, which stand side by side, to their places.
inline void part_generators(const float* block, std::size_t count, float* out, std::size_t stride) {
  for (std::size_t l = 0; l < kGenerators; ++l) {
    float* to = out + l * stride;
    if (count == kGeneratorBlock)
      for (std::size_t i = 0; i < kGeneratorBlock; ++i) to[i] = block[i * kGenerators + l];
    else
      for (std::size_t i = 0; i < count; ++i) to[i] = block[i * kGenerators + l];
  }
}

inline void keep_states(const States& states, Generators& generators) {
  __builtin_memcpy(&generators, &states, sizeof states);
}

void generated_uniforms(Generators& generators, std::size_t each, float* out, std::size_t stride) {
  States states = states_of(generators);
  alignas(64) std::uint64_t draws[kDraws];
  alignas(64) float block[kDraws];
  for (std::size_t done = 0; done < each; done += kGeneratorBlock) {
    const std::size_t count = each - done < kGeneratorBlock ? each - done : kGeneratorBlock;
    const std::size_t elements = count * kGenerators;
    for (std::size_t i = 0; i < elements; i += kGenerators) next(states, draws + i);
    for (std::size_t i = 0; i < elements; ++i)
      block[i] = static_cast<float>(uniform_of_bits(draws[i]));
    part_generators(block, count, out + done, stride);
  }
  keep_states(states, generators);
}

void generated_normals(Generators& generators, std::size_t each, float* out, std::size_t stride) {
  States states = states_of(generators);
  alignas(64) std::uint64_t first[kDraws] = {}, second[kDraws] = {};
  alignas(64) double radius[kDraws];
  alignas(64) float block[kDraws];
  for (std::size_t done = 0; done < each; done += kGeneratorBlock) {
    const std::size_t count = each - done < kGeneratorBlock ? each - done : kGeneratorBlock;
    for (std::size_t i = 0; i < count * kGenerators; i += kGenerators) {
      next(states, first + i);
      next(states, second + i);
    }
    // In three loops: the processor sees no further than the long chain of one deviate, so short
    // chains of several run side by side.
    for (std::size_t i = 0; i < kDraws; ++i)
      radius[i] = formula::minus_twice_log(1.0 - uniform_of_bits(first[i]));
    for (std::size_t i = 0; i < kDraws; ++i) radius[i] = formula::root(radius[i]);
    for (std::size_t i = 0; i < kDraws; ++i)
      block[i] = static_cast<float>(radius[i] * formula::cos_turns(uniform_of_bits(second[i])));
    part_generators(block, count, out + done, stride);
  }
  keep_states(states, generators);
}

void normals(const double* u1, const double* u2, float* out, std::size_t n) {
  float block[kBlock];
  for (std::size_t done = 0; done < n; done += kBlock) {
    const std::size_t count = n - done < kBlock ? n - done : kBlock;
    for (std::size_t i = 0; i < count; ++i)
      block[i] = static_cast<float>(formula::normal_of(1.0 - u1[done + i], u2[done + i]));
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
    out[i] = static_cast<float>(formula::normal_of(a < 0x1p-24 ? 0x1p-24 : a, b));
  }
}

constexpr RandomLoops kLoops = {normals, generated_uniforms, generated_normals, counter_uniforms,
                                counter_normals};

}  // namespace

const RandomLoops& random_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
