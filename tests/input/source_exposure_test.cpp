// Metering of the source: what is measured, and the gain that follows.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "image/image.h"
#include "input/source_gain.h"
#include "morva.h"

namespace morva {
namespace {

MorvaSourceStats measured(const std::vector<float>& rgb, int w, int h) {
  MorvaSourceStats stats = {-1, -1, -1.0, -1.0, -1.0};
  morva_source_stats(rgb.data(), w, h, &stats);
  return stats;
}

TEST(SourceStats, AreValuesOfTheSortedLuminance) {
  std::mt19937 random(7);
  std::lognormal_distribution<float> light(-2.0f, 1.5f);
  for (const auto& [w, h] : {std::pair{1, 1}, {2, 1}, {1, 3}, {37, 29}, {200, 5}, {1024, 3}}) {
    std::vector<float> rgb(static_cast<std::size_t>(3 * w * h));
    for (float& sample : rgb) sample = light(random);
    std::vector<float> luma;
    for (std::size_t i = 0; i < rgb.size(); i += 3)
      luma.push_back(rgb[i + 1] * 0.7152f + rgb[i] * 0.2126f + rgb[i + 2] * 0.0722f);
    std::sort(luma.begin(), luma.end());
    const MorvaSourceStats stats = measured(rgb, w, h);
    for (const auto& [share, value] :
         {std::pair{0.1, stats.p10}, {0.5, stats.p50}, {0.995, stats.p995}})
      EXPECT_EQ(luma[static_cast<std::size_t>(share * (w * h - 1.0))], value)
          << w << " x " << h << " " << share;
  }
}

// Boxes of two pixels: a chequerboard of black and white becomes an even grey.
TEST(SourceStats, AreTakenAfterReduction) {
  std::vector<float> chequers;
  for (int i = 0; i < 2048 * 1024; ++i)
    chequers.resize(chequers.size() + 3, (i + i / 2048) % 2 == 0 ? 1.0f : 0.0f);
  const MorvaSourceStats half = measured(chequers, 2048, 1024);
  EXPECT_TRUE(half.width == 1024 && half.height == 512);
  EXPECT_NEAR(0.5, half.p10, 1e-6);
  EXPECT_NEAR(0.5, half.p995, 1e-6);
}

TEST(SourceStats, NothingBreaksThem) {
  const std::vector<float> odd = {NAN,      0.5f,      0.5f, INFINITY, INFINITY,
                                  INFINITY, -INFINITY, 0.2f, 0.3f};
  EXPECT_EQ(0, measured(odd, 0, 1).width);
  EXPECT_EQ(0.0, measured(odd, 1, -2147483647).p995);
  const MorvaSourceStats bounded = measured(odd, 3, 1);
  EXPECT_NEAR(-2.126e8, bounded.p10, 1e3);                      // red bounded at 1e9
  EXPECT_NEAR(0.5 * 0.7152 + 0.5 * 0.0722, bounded.p50, 1e-6);  // no red where it was no number
}

TEST(SourceGain, BringsTheMiddleToAFilmsGreyAndIsAppliedWhenItIsANumber) {
  const auto gain = [](const char* mode, double p10, double p50, double p995) {
    const MorvaSourceStats stats = {8, 8, p10, p50, p995};
    return morva_source_gain(mode, &stats);
  };
  const char* modes[] = {nullptr, "auto", "foo", "highlights", "shadows"};
  for (const char* mode : modes) {
    EXPECT_DOUBLE_EQ(1.5, gain(mode, 0.04, 0.1, 0.5));
    EXPECT_EQ(64.0, gain(mode, 0.0, 1e-4, 0.0));
    EXPECT_EQ(0.25, gain(mode, INFINITY, INFINITY, INFINITY));
    EXPECT_EQ(1.0, gain(mode, NAN, NAN, NAN));
    EXPECT_EQ(1.0, morva_source_gain(mode, nullptr));
  }
  EXPECT_EQ(1.44, morva_source_gain("as_shot", nullptr));
  EXPECT_DOUBLE_EQ(0.9 / 1.2, gain("highlights", 0.02, 0.1, 1.2));
  EXPECT_DOUBLE_EQ(4.5, gain("shadows", 0.01, 0.1, 0.5));
  const auto applied = [](const Json& factor) {
    Image image(1, 1, 3, 0.3f);
    apply_source_gain(image, {{"_source_gain", factor}});
    return image.data[1];
  };
  EXPECT_EQ(0.3f * 1.7f, applied(1.7));
  EXPECT_EQ(0.3f, applied("2"));
  EXPECT_TRUE(std::isnan(applied(std::nan(""))));
}

}  // namespace
}  // namespace morva
