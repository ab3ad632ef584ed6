// The generators against their published forms and against single draws; rows of noise made part by
// part against whole bands drawn one number at a time; and what noise is.

#include "image/random.h"

#include "image/edge_noise.h"
#include "image/generator_jump.h"
#include "image/noise.h"
#include "image/on_every_isa.h"

namespace morva {
namespace {

using Draws = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, Draws, testing::ValuesIn(available_isas()), isa_name);

bool same_state(const Rng& a, const Rng& b) {
  return std::ranges::equal(a.s, b.s);
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
  const Rng want = {
      {0xb262031219bd38e7u, 0x2293de5e75175d3du, 0x1c6af0ebb538a82fu, 0x37b282aa8ff27631u}};
  EXPECT_TRUE(same_state(rng, want));
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

// About the sizes where eight generators begin to share the work, and where their stretches change.
TEST_P(Draws, FillsHaveTheBitsOfSingleDraws) {
  const auto expect_fill = [](int n, const auto& fill, const auto& draw) {
    Image got(1, n + 1, 1, 77.0f), want = got;
    Rng single = rng_from_key({3, 2, 1}), many = single;
    for (int i = 0; i < n; ++i) want.data[i] = static_cast<float>(draw(single, i));
    fill(many, got.data.data());
    EXPECT_TRUE(same_bits(got, want)) << n;
    EXPECT_TRUE(same_state(many, single)) << "draws taken for " << n;
  };
  for (const int n : {0, 1, 2, 3, 15, 16, 17, 255, 257, 2047, 2048, 2049, 6145, 70001}) {
    expect_fill(
        n, [n](Rng& rng, float* out) { rng.fill_uniforms(out, n); },
        [](Rng& rng, int) { return rng.uniform(); });
    expect_fill(
        n, [n](Rng& rng, float* out) { rng.fill_normals(out, n); },
        [](Rng& rng, int) { return rng.normal(); });
    expect_fill(
        n, [n](Rng&, float* out) { std::ranges::copy(counter_uniforms(42, 7, n), out); },
        [](Rng&, int i) { return counter_uniforms(42, 7 + i, 1)[0]; });
    expect_fill(
        n, [n](Rng&, float* out) { std::ranges::copy(counter_normals(42, 7, n), out); },
        [](Rng&, int i) { return counter_normals(42, 7 + i, 1)[0]; });
  }
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

const Key kKey = {20260821, 41};
constexpr int kBandRows = 256;

// Bands `first` .. `last` of the sheet.
Image plain_bands(int first, int last, int width, bool counter) {
  Image sheet((last - first + 1) * kBandRows, width, 1);
  float* out = sheet.data.data();
  for (int band = first; band <= last; ++band) {
    Key key = kKey;
    key.push_back(band + 500);
    Rng rng = rng_from_key(key);
    for (int i = 0; i < kBandRows * width; ++i)
      *out++ = counter ? counter_normals(hash_key(key), static_cast<std::uint64_t>(i), 1)[0]
                       : static_cast<float>(rng.normal());
  }
  return sheet;
}

// Widths of parts, over and over: alone, below and above what eight generators share.
constexpr std::array<std::size_t, 7> kColumns = {1, 16, 15, 33, 2, 256, 5};
constexpr std::array<std::size_t, 5> kRows = {8, 1, 13, 64, 7};

Image in_parts(int y0, int y1, int width, bool counter) {
  Image window(y1 - y0, width, 1, 77.0f);
  NoiseRows noise(kKey, y0, y1, width, counter);
  const std::size_t h = static_cast<std::size_t>(window.h), w = window.row_samples();
  for (std::size_t y = 0, i = 0; y < h; y += kRows[i++ % kRows.size()]) {
    const std::size_t rows = std::min(kRows[i % kRows.size()], h - y);
    for (std::size_t x = 0, k = i; x < w; x += kColumns[k++ % kColumns.size()]) {
      const std::size_t columns = std::min(kColumns[k % kColumns.size()], w - x);
      noise.take(y, rows, x, columns, &window.data[y * w + x], w);
    }
  }
  return window;
}

TEST_P(Draws, AnyWindowInAnyPartsHasTheSheetsNumbers) {
  for (const int width : {1, 15, 16, 17, 131, 300})
    for (const bool counter : {false, true}) {
      const Image sheet = plain_bands(-2, 1, width, counter);
      for (const auto& [y0, y1] :
           {std::pair{-512, 512}, {-300, -299}, {-257, 3}, {-1, 1}, {0, 256}, {255, 300}}) {
        Image want(y1 - y0, width, 1);
        const auto from = sheet.data.begin() + (y0 + 512) * width;
        want.data.assign(from, from + (y1 - y0) * width);
        EXPECT_TRUE(same_bits(in_parts(y0, y1, width, counter), want)) << y0 << ", " << width;
        EXPECT_TRUE(same_bits(band_noise(kKey, y0, y1, width, counter), want)) << y0;
      }
    }
}

TEST(Noise, RowUniformsBelongToTheStripsFirstRow) {
  // Of the key {7, 940}.
  EXPECT_EQ(row_uniforms({7}, 40, 2, false)[1], static_cast<float>(2706479519050363.0 * 0x1p-53));
  EXPECT_EQ(row_uniforms({7}, 40, 3, true)[2], 13884503 * 0x1p-24f);
  for (const bool counter : {false, true}) {
    const std::vector<float> strip = row_uniforms({7}, 40, 1000, counter);
    for (const auto& [start, n] : {std::pair{0, 7}, {377, 600}, {999, 1}}) {
      std::vector<float> part(static_cast<std::size_t>(n));
      fill_row_uniforms({7}, 40, static_cast<std::uint64_t>(start), part.size(), counter,
                        part.data());
      EXPECT_TRUE(std::equal(part.begin(), part.end(), strip.begin() + start)) << start;
    }
  }
}

TEST(Noise, ABlurLeavesItsShareOfTheDeviation) {
  const Image rough = gaussian_noise_image({5}, 0, 300, 400, 0.0, true);
  EXPECT_NEAR(deviation_of(rough), 1.0, 0.01);
  // A Gaussian leaves white noise the deviation 1 / (2 sqrt(pi) sigma).
  EXPECT_NEAR(deviation_of(gaussian_noise_image({5}, 0, 300, 400, 2.0, true)), 0.141, 0.006);
}

TEST(NoiseLine, HasUnitVarianceAndDrawsByItsLengthAlone) {
  for (const std::size_t n : {2u, 7u, 640u})
    for (const double sigma : {-1.0, 0.0, 0.8, 128.0, 1e30, std::nan("")}) {
      Rng rng = rng_from_key({5, 2, 0}), skipped = rng;
      const std::vector<float> line = noise_line(rng, n, sigma);
      ASSERT_EQ(line.size(), n);
      const auto [mean, deviation] = mean_and_deviation(line.data(), n);
      EXPECT_NEAR(mean, 0.0, 1e-5);
      // A line blurred over several times its length may have nothing left to scale.
      EXPECT_GE(deviation, sigma < 0.3 * static_cast<double>(n) ? 0.9999 : 0.0) << sigma;
      EXPECT_LE(deviation, 1.0001) << n << " " << sigma;
      skipped.skip_normals(n);
      EXPECT_EQ(rng.next(), skipped.next());
    }
  Rng rng = rng_from_key({5, 2, 0});
  EXPECT_EQ(noise_line(rng, 1, 0.8), std::vector<float>{0.0f});
  EXPECT_TRUE(noise_line(rng, 0, 0.8).empty());
}

}  // namespace
}  // namespace morva
