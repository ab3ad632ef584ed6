// Random numbers of a render. Every consumer derives its own generator from a key, a short list of
// integers, at the moment of use; nothing is global, so what one stage draws never depends on which
// others ran.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace morva {

// One to five words; arithmetic on them is modulo 2^64.
using Key = std::vector<std::int64_t>;

// `key` with one more word.
Key with_word(Key key, std::int64_t word);

// The finaliser of splitmix64 (Steele, Lea and Flood 2014, with Stafford's constants).
std::uint64_t mix64(std::uint64_t z);

// xoshiro256** 1.0, Blackman and Vigna 2018.
struct Rng {
  std::uint64_t s[4];

  std::uint64_t next();
  double uniform();                    // 53 bits, in [0, 1)
  double uniform(double a, double b);  // in [a, b)

  // Box and Muller, the cosine half only: each normal costs exactly two draws.
  double normal();
  void fill_normals(float* out, std::size_t n);  // each one normal(), rounded
  std::vector<float> normals(std::size_t n);
  void fill_uniforms(float* out, std::size_t n);  // each one uniform(), rounded

  void skip(std::uint64_t draws);
  void skip_normals(std::uint64_t n) { skip(2 * n); }
};

Rng rng_from_key(const Key& key);

// A word for the counter forms below.
std::uint64_t hash_key(const Key& key);

// Uniforms of 24 bits and normals of which any can be computed without its predecessors: element i
// is number start + i of the sequence that `hash` names.
std::vector<float> counter_uniforms(std::uint64_t hash, std::uint64_t start, std::size_t n);
std::vector<float> counter_normals(std::uint64_t hash, std::uint64_t start, std::size_t n);
void fill_counter_uniforms(std::uint64_t hash, std::uint64_t start, std::size_t n, float* out);
void fill_counter_normals(std::uint64_t hash, std::uint64_t start, std::size_t n, float* out);

}  // namespace morva
