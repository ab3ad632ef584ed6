#include "image/random.h"

#include <algorithm>
#include <bit>

#include "image/generator_jump.h"
#include "image/vector/normal_formula.h"
#include "image/vector/random_loops.h"

namespace morva {

namespace {

constexpr std::uint64_t kGolden = vector::kGoldenStep;

std::uint64_t word(std::int64_t w) {
  return static_cast<std::uint64_t>(w);
}

// Stretches of 2^power elements, one for each of the generators that run side by side.
constexpr int kLongestStretch = 17;
constexpr int kShortestStretch = 8;

using FillStretches = void (*)(vector::Generators&, std::size_t each, float* out,
                               std::size_t stride);

// The same numbers as one generator makes, by several of it that start further along. Gives how
// many elements were made; fewer than one set of the shortest stretches are left.
std::size_t fill_side_by_side(Rng& rng, FillStretches fill, int draws_power, float* out,
                              std::size_t n) {
  std::size_t done = 0;
  for (int power = kLongestStretch; power >= kShortestStretch; --power) {
    const std::size_t each = std::size_t{1} << power;
    for (; n - done >= vector::kGenerators * each; done += vector::kGenerators * each) {
      vector::Generators generators;
      for (std::size_t l = 0; l < vector::kGenerators; ++l) {
        for (int k = 0; k < 4; ++k) generators.s[k][l] = rng.s[k];
        jump_power_of_two(rng.s, power + draws_power);
      }
      fill(generators, each, out + done, each);
    }
  }
  return done;
}

}  // namespace

Key with_word(Key key, std::int64_t added) {
  key.push_back(added);
  return key;
}

std::uint64_t mix64(std::uint64_t z) {
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  return z ^ (z >> 31);
}

std::uint64_t Rng::next() {
  const std::uint64_t result = std::rotl(s[1] * 5, 7) * 9;
  const std::uint64_t t = s[1] << 17;
  s[2] ^= s[0];
  s[3] ^= s[1];
  s[1] ^= s[2];
  s[0] ^= s[3];
  s[2] ^= t;
  s[3] = std::rotl(s[3], 45);
  return result;
}

double Rng::uniform() {
  return static_cast<double>(next() >> 11) * 0x1p-53;
}

double Rng::uniform(double a, double b) {
  return uniform() * (b - a) + a;
}

double Rng::normal() {
  const double u1 = uniform();
  const double u2 = uniform();
  return elementary::formula::normal_of(1.0 - u1, u2);
}

// The draws have an order of their own; the transform has none and runs in vectors.
void Rng::fill_normals(float* out, std::size_t n) {
  constexpr std::size_t kBlock = 256;
  double u1[kBlock], u2[kBlock];
  const auto transform = vector::random_loops().normals;
  std::size_t done = fill_side_by_side(*this, vector::random_loops().generated_normals, 1, out, n);
  Rng rng = *this;  // a copy of its own stays in registers
  for (; done < n; done += kBlock) {
    const std::size_t count = std::min(kBlock, n - done);
    for (std::size_t i = 0; i < count; ++i) {
      u1[i] = rng.uniform();
      u2[i] = rng.uniform();
    }
    transform(u1, u2, out + done, count);
  }
  *this = rng;
}

std::vector<float> Rng::normals(std::size_t n) {
  std::vector<float> values(n);
  fill_normals(values.data(), n);
  return values;
}

void Rng::fill_uniforms(float* out, std::size_t n) {
  std::size_t done = fill_side_by_side(*this, vector::random_loops().generated_uniforms, 0, out, n);
  for (; done < n; ++done) out[done] = static_cast<float>(uniform());
}

void Rng::skip(std::uint64_t draws) {
  jump(s, draws);
}

Rng rng_from_key(const Key& key) {
  std::uint64_t h = static_cast<std::uint64_t>(key.size()) ^ 0x243f6a8885a308d3u;
  for (const std::int64_t w : key) h = mix64((h ^ word(w)) + kGolden);
  Rng rng;
  for (std::uint64_t& state : rng.s) {
    h += kGolden;
    state = mix64(h);
  }
  return rng;
}

std::uint64_t hash_key(const Key& key) {
  std::uint64_t h = 0;
  for (const std::int64_t w : key) h = mix64((h + kGolden) ^ word(w));
  return h;
}

std::vector<float> counter_uniforms(std::uint64_t hash, std::uint64_t start, std::size_t n) {
  std::vector<float> values(n);
  fill_counter_uniforms(hash, start, n, values.data());
  return values;
}

std::vector<float> counter_normals(std::uint64_t hash, std::uint64_t start, std::size_t n) {
  std::vector<float> values(n);
  fill_counter_normals(hash, start, n, values.data());
  return values;
}

void fill_counter_uniforms(std::uint64_t hash, std::uint64_t start, std::size_t n, float* out) {
  vector::random_loops().counter_uniforms((start + 1) * kGolden + hash, out, n);
}

void fill_counter_normals(std::uint64_t hash, std::uint64_t start, std::size_t n, float* out) {
  vector::random_loops().counter_normals((2 * start + 1) * kGolden + hash, out, n);
}

}  // namespace morva
