// The screen against its definition, what an even tone covers, and whatever a caller may ask for.

#include "repro/halftone_screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

namespace morva {
namespace {

double plain_threshold(int y, int x, const HalftoneScreen& s) {
  const long double turn = 2.0L * std::numbers::pi_v<long double>;
  const long double a = s.angle_deg * (turn / 360.0L);
  const long double along = (x * std::cos(a) + y * std::sin(a)) / s.period_px + s.along;
  const long double across = (y * std::cos(a) - x * std::sin(a)) / s.period_px + s.across;
  const auto spot = static_cast<double>(std::cos(turn * along) + std::cos(turn * across));
  const double t = std::clamp((spot + 2.0) * 1024.0, 0.0, 4095.999);
  const auto i = static_cast<std::size_t>(t);
  const double here = spot_shares()[i].share;
  const double next = spot_shares()[std::min<std::size_t>(i + 1, 4095)].share;
  return 1.0 - (here + (next - here) * (t - static_cast<double>(i)));
}

// A value that equals its pixel's threshold is half covered, and the edge is 0.6 px wide: what the
// phase is off by shows tenfold. At the far corner of a long raster as well.
TEST(HalftoneScreen, FollowsItsFormulaToTheFarCornerOfALongRaster) {
  for (const double angle : {0.0, 15.0, 75.0})
    for (const int y : {0, 29990}) {
      const HalftoneScreen screen = {6.37, angle, 0.31, 0.94};
      std::vector<float> plate(30001);
      for (int x = 0; x < 30001; ++x)
        plate[static_cast<std::size_t>(x)] = static_cast<float>(plain_threshold(y, x, screen));
      screen_rows(plate.data(), y, 1, 30001, screen);
      for (const float v : plate) ASSERT_NEAR(0.5f, v, 2e-6f) << angle << " " << y;
    }
}

TEST(HalftoneScreen, AnEvenToneCoversItsShare) {
  constexpr int side = 400;
  for (const float value : {0.15f, 0.3f, 0.5f, 0.7f, 0.85f})
    for (const double angle : {0.0, 15.0, 45.0, 75.0})
      for (const double period : {3.07, 3.9, 6.37, 8.91, 19.93}) {
        std::vector<float> plate(side * side, value);
        screen_rows(plate.data(), 0, side, side, {period, angle, 0.2, 0.7});
        double sum = 0.0;
        for (const float v : plate) sum += v;
        EXPECT_NEAR(value, sum / (side * side), value == 0.5f ? 0.002 : 0.01)
            << angle << " " << period;
      }
}

TEST(HalftoneScreen, IsTheSameWhereverItIsCutAndGivesCoverageWhateverItsNumbers) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  for (const double period : {4.3, 0.0, -5.0, 1e-300, 1e30, static_cast<double>(nan)})
    for (const int w : {1, 63, 64, 65, 131}) {
      const HalftoneScreen screen = {period, 75.0, 0.1, 0.6};
      const float values[] = {0.0f, 0.3f, 0.5f, 0.8f, 1.0f, nan, 1e30f, -1e30f, 0.1f};
      std::vector<float> whole;
      for (int i = 0; i < 3 * w; ++i) whole.push_back(values[i % 9]);
      std::vector<float> cut = whole;
      screen_rows(whole.data(), 1'000'000'000, 3, w, screen);
      for (int y = 0; y < 3; ++y) screen_rows(&cut[y * w], 1'000'000'000 + y, 1, w, screen);
      EXPECT_EQ(whole, cut) << w;
      for (const float v : whole) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << period << " " << v;
    }
}

}  // namespace
}  // namespace morva
