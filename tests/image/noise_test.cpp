// Rows of noise made part by part, on every instruction set, against whole bands drawn one number
// at a time; and what noise is.

#include "image/noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "image/edge_noise.h"
#include "image/on_every_isa.h"
#include "image/pairwise_sum.h"

namespace morva {
namespace {

using NoiseParts = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, NoiseParts, testing::ValuesIn(available_isas()), isa_name);

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

TEST_P(NoiseParts, AnyWindowInAnyPartsHasTheSheetsNumbers) {
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
  EXPECT_NEAR(standard_deviation(rough.data.data(), rough.data.size()), 1.0, 0.01);
  const Image smooth = gaussian_noise_image({5}, 0, 300, 400, 2.0, true);
  // A Gaussian leaves white noise the deviation 1 / (2 sqrt(pi) sigma).
  EXPECT_NEAR(standard_deviation(smooth.data.data(), smooth.data.size()), 0.141, 0.006);
}

TEST(NoiseLine, HasUnitVarianceAndDrawsByItsLengthAlone) {
  for (const std::size_t n : {2u, 7u, 640u})
    for (const double sigma :
         {-1.0, 0.0, 0.8, 128.0, 1e30, std::numeric_limits<double>::quiet_NaN()}) {
      Rng rng = rng_from_key({5, 2, 0}), skipped = rng;
      const std::vector<float> line = noise_line(rng, n, sigma);
      ASSERT_EQ(line.size(), n);
      EXPECT_NEAR(std::accumulate(line.begin(), line.end(), 0.0) / static_cast<double>(n), 0.0,
                  1e-5);
      const double deviation = standard_deviation(line.data(), n);
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
