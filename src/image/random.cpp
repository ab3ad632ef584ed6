#include "image/random.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "image/elementary.h"
#include "image/vector/random_loops.h"

namespace morva {

namespace {

constexpr std::uint64_t kGolden = vector::kGoldenStep;

std::uint64_t word(std::int64_t w) {
  return static_cast<std::uint64_t>(w);
}

}  // namespace

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
  return std::sqrt(-2.0 * elementary::log(1.0 - u1)) * elementary::cos(2.0 * std::numbers::pi * u2);
}

// The draws have an order of their own; the transform has none and runs in vectors.
void Rng::fill_normals(float* out, std::size_t n) {
  constexpr std::size_t kBlock = 256;
  double u1[kBlock], u2[kBlock];
  const auto transform = vector::random_loops().normals;
  Rng rng = *this;  // a copy of its own stays in registers
  for (std::size_t done = 0; done < n; done += kBlock) {
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

void Rng::skip_normals(std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    next();
    next();
  }
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
  vector::random_loops().counter_uniforms((start + 1) * kGolden + hash, values.data(), n);
  return values;
}

std::vector<float> counter_normals(std::uint64_t hash, std::uint64_t start, std::size_t n) {
  std::vector<float> values(n);
  vector::random_loops().counter_normals((2 * start + 1) * kGolden + hash, values.data(), n);
  return values;
}

}  // namespace morva
