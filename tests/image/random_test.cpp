#include "image/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "image/generator_jump.h"
#include "image/vector/isa.h"

namespace morva {
namespace {

bool same_bits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

// Expected words come from integer arithmetic of arbitrary width, normals from 200-bit arithmetic.

TEST(Random, MixAndGeneratorFollowTheirPublishedForms) {
  EXPECT_EQ(mix64(0), 0u);
  EXPECT_EQ(mix64(1), 0x5692161d100b05e5u);
  // splitmix64 seeded with 1234567: its published first outputs.
  EXPECT_EQ(mix64(1234567 + 0x9e3779b97f4a7c15u), 6457827717110365317u);
  EXPECT_EQ(mix64(1234567 + 2 * 0x9e3779b97f4a7c15u), 3203168211198807973u);
  Rng rng = {{1, 2, 3, 4}};
  for (const std::uint64_t want : {11520ull, 0ull, 1509978240ull, 1215971899390074240ull,
                                   1216172134540287360ull, 607988272756665600ull})
    EXPECT_EQ(rng.next(), want);
}

TEST(Random, KeysBecomeStates) {
  const Rng rng = rng_from_key({20260821, 1, 0});
  const std::uint64_t want[] = {0xb262031219bd38e7u, 0x2293de5e75175d3du, 0x1c6af0ebb538a82fu,
                                0x37b282aa8ff27631u};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(rng.s[i], want[i]);
  EXPECT_EQ(rng_from_key({20260821, 1, 0, 31}).s[0], 0x0de072c8886b8327u);
  EXPECT_EQ(rng_from_key({-5}).s[3], 0xaa9a3b07cf671f1au);
  EXPECT_EQ(hash_key({20260827}), 0x56db3ab7e0f7df18u);
  EXPECT_EQ(hash_key({20260821, 1, 0}), 0x4d31b247f607c5ceu);
}

TEST(Random, NormalsHaveTheRightValues) {
  Rng rng = rng_from_key({20260821, 1, 0});
  for (const float want : {-2.1520133018493652f, 0.17933256924152374f, -0.518399715423584f})
    EXPECT_FLOAT_EQ(static_cast<float>(rng.normal()), want);
  const std::uint64_t hash = hash_key({20260827});
  const float first[] = {0.8630272746086121f, 0.40144169330596924f, 0.7763350605964661f};
  const std::vector<float> normals = counter_normals(hash, 0, 3);
  for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(normals[i], first[i]);
  EXPECT_FLOAT_EQ(counter_normals(hash, 5, 2)[1], -0.33930858969688416f);
  const std::vector<float> uniforms = counter_uniforms(hash, 0, 4);
  const float counts[] = {11485441, 16425589, 13251006, 14249428};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(uniforms[i], counts[i] * 0x1p-24f);
  EXPECT_EQ(counter_uniforms(hash, 1000000000000, 2)[1], 8653911 * 0x1p-24f);
}

bool same_state(const Rng& a, const Rng& b) {
  return std::memcmp(a.s, b.s, sizeof a.s) == 0;
}

// About the sizes where eight generators begin to share the work, and where their stretches change.
TEST(Random, FillsHaveTheBitsOfSingleDraws) {
  for (const auto isa : {vector::Isa::baseline, vector::Isa::avx2, vector::Isa::avx512}) {
    vector::use_isa(isa);
    const auto expect_fill = [&](std::size_t n, const auto& fill, const auto& draw) {
      std::vector<float> got(n + 1, 77.0f), want = got;
      Rng single = rng_from_key({3, 2, 1}), many = single;
      for (std::size_t i = 0; i < n; ++i) want[i] = static_cast<float>(draw(single, i));
      fill(many, got.data());
      EXPECT_TRUE(same_bits(got, want)) << n << " on " << static_cast<int>(isa);
      EXPECT_TRUE(same_state(many, single)) << "draws taken for " << n;
    };
    for (const std::size_t n : {0, 1, 2, 3, 15, 16, 17, 255, 257, 2047, 2048, 2049, 6145, 70001}) {
      expect_fill(
          n, [n](Rng& rng, float* out) { rng.fill_uniforms(out, n); },
          [](Rng& rng, std::size_t) { return rng.uniform(); });
      expect_fill(
          n, [n](Rng& rng, float* out) { rng.fill_normals(out, n); },
          [](Rng& rng, std::size_t) { return rng.normal(); });
      expect_fill(
          n, [n](Rng&, float* out) { std::ranges::copy(counter_uniforms(42, 7, n), out); },
          [](Rng&, std::size_t i) { return counter_uniforms(42, 7 + i, 1)[0]; });
      expect_fill(
          n, [n](Rng&, float* out) { std::ranges::copy(counter_normals(42, 7, n), out); },
          [](Rng&, std::size_t i) { return counter_normals(42, 7 + i, 1)[0]; });
    }
  }
  vector::use_isa(vector::best_isa());
}

// Short jumps against single steps; each longer one against two of half its length.
TEST(Random, JumpsLandWhereSteppingWould) {
  const Rng start = rng_from_key({11, 4});
  Rng stepped = start;
  int done = 0;
  for (const int target : {0, 1, 2, 3, 63, 64, 4095, 65537, 262143}) {
    for (; done < target; ++done) stepped.next();
    Rng jumped = start;
    jumped.skip(static_cast<std::uint64_t>(target));
    EXPECT_TRUE(same_state(jumped, stepped)) << target;
  }
  for (int power = 1; power < kJumpPowers; ++power) {
    Rng once = start, twice = start;
    jump_power_of_two(once.s, power);
    for (int half = 0; half < 2; ++half) jump_power_of_two(twice.s, power - 1);
    EXPECT_TRUE(same_state(once, twice)) << power;
  }
  // Beyond twice the longest power.
  constexpr std::uint64_t kFar = (std::uint64_t{5} << 40) + 12345;
  Rng once = start, parts = start;
  once.skip(kFar);
  for (const std::uint64_t part : {kFar - (std::uint64_t{3} << 38), std::uint64_t{3} << 38})
    parts.skip_normals(part / 2), parts.skip(part % 2);
  EXPECT_TRUE(same_state(once, parts));
}

}  // namespace
}  // namespace morva
