// The inner loops of the random fields, compiled once for each instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morva::vector {

// 2^64 over the golden ratio: the step between the counters of neighbouring elements.
inline constexpr std::uint64_t kGoldenStep = 0x9e3779b97f4a7c15u;

// Generators that run side by side.
inline constexpr std::size_t kGenerators = 8;

// States of xoshiro256**: word k of generator l is s[k][l].
struct alignas(64) Generators {
  std::uint64_t s[4][kGenerators];
};

struct RandomLoops {
  // sqrt(-2 ln(1 - u1)) * cos(2 pi u2) for uniforms in [0, 1), rounded.
  void (*normals)(const double* u1, const double* u2, float* out, std::size_t n);

  // Uniforms of 53 bits, rounded, and normals of two draws each: generator l makes `each` elements
  // from out + l * stride on and moves on past them.
  void (*generated_uniforms)(Generators& generators, std::size_t each, float* out,
                             std::size_t stride);
  void (*generated_normals)(Generators& generators, std::size_t each, float* out,
                            std::size_t stride);

  // Element i hashes the counter first + i * kGoldenStep to 24 bits.
  void (*counter_uniforms)(std::uint64_t first, float* out, std::size_t n);

  // Element i takes the counters first + 2i * kGoldenStep and the next one.
  void (*counter_normals)(std::uint64_t first, float* out, std::size_t n);
};

// The table of the instruction set in use.
const RandomLoops& random_loops();

namespace baseline {
const RandomLoops& random_loops();
}
namespace avx2 {
const RandomLoops& random_loops();
}
namespace avx512 {
const RandomLoops& random_loops();
}

}  // namespace morva::vector
