// The press and its screens: what lands of an even tone, a screen against its definition, whose
// plates move, what is drawn, and numbers that no press has.

#include "repro/offset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "print/pictures.h"
#include "repro/halftone_screen.h"
#include "repro/inks.h"

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
      for (int x = 0; x < 30001; ++x) plate[x] = static_cast<float>(plain_threshold(y, x, screen));
      screen_rows(plate.data(), y, 1, 30001, screen);
      for (const float v : plate) ASSERT_NEAR(0.5f, v, 2e-6f) << angle << " " << y;
    }
}

TEST(HalftoneScreen, AnEvenToneCoversItsShare) {
  constexpr int side = 400;
  for (const float value : {0.15f, 0.3f, 0.5f, 0.7f, 0.85f})
    for (const double angle : {0.0, 15.0, 45.0, 75.0})
      for (const double period : {3.07, 3.9, 6.37, 8.91, 19.93}) {
        Image plate(side, side, 1, value);
        screen_rows(plate.data.data(), 0, side, side, {period, angle, 0.2, 0.7});
        EXPECT_NEAR(value, mean(plate), value == 0.5f ? 0.002 : 0.01) << angle << " " << period;
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

Json press_of(const char* keys) {
  return {{"repro", "offset"}, {"offset", Json::parse(keys)}};
}

// At the picture's own pixels.
Image run_off(const Image& picture, const Json& paper, double px_um, Rng* rng = nullptr) {
  Rng own = rng_from_key({7});
  RasterScale scale;
  scale.plan = plan_raster(paper, Json::object(), px_um);
  RenderContext ctx;
  return print_offset(picture, paper, px_um, scale, rng != nullptr ? *rng : own, ctx);
}

TEST(Offset, AnEvenGreyKeepsItsLightUnderTheScreen) {
  const Json paper = press_of(R"({"misregister_mm": 0, "psf_um": 0})");
  const float sheet = printing_paper("coated")[1];
  // Four screens at their angles fall on each other by chance, as the print model has it.
  for (const auto& [channels, tolerance] : {std::pair{1, 0.004}, {3, 0.02}})
    for (const float grey : {0.2f, 0.5f, 0.8f}) {
      const Image print = run_off(Image(400, 400, channels, grey), paper, 25400.0 / 150.0 / 6.37);
      EXPECT_NEAR(grey * sheet, mean(print), tolerance) << grey;
    }
  // 1200 lines lie far below a pixel: the tone stays even.
  for (const float v : run_off(Image(5, 7, 1, 0.3f), press_of(R"({"lpi": 1200})"), 60.0).data)
    EXPECT_NEAR(0.3f * sheet, v, 1e-3);
}

// The cyan plate is the first to be drawn; red light sees little but its ink.
TEST(Offset, APlateMovesAsAWholeAndBlackStandsStill) {
  const Json moves = press_of(R"({"lpi": 1200, "misregister_mm": 0.3, "psf_um": 0})");
  const Json stands = press_of(R"({"lpi": 1200, "misregister_mm": 0, "psf_um": 0})");
  Image cyan(31, 37, 3, 1.0f), grey(31, 37, 1, 1.0f);
  for (int y = 4; y < 19; ++y)
    for (int x = 9; x < 22; ++x) cyan.at(y, x) = grey.at(y, x) = 0.1f;
  Rng rng = rng_from_key({7});
  const auto right = static_cast<int>(std::nearbyint(rng.normal() * 5.0));
  const auto down = static_cast<int>(std::nearbyint(rng.normal() * 5.0));
  ASSERT_TRUE(right != 0 && down != 0);
  const Image still = run_off(cyan, stands, 60.0), moved = run_off(cyan, moves, 60.0);
  for (int y = 0; y < 31; ++y)
    for (int x = 0; x < 37; ++x)
      ASSERT_NEAR(still.at(y, x), moved.at((y + down + 31) % 31, (x + right + 37) % 37), 0.02);
  EXPECT_EQ(run_off(grey, stands, 60.0).data, run_off(grey, moves, 60.0).data);
}

// Two uniforms for a screen, two normals for a plate that is not black and moves by half a pixel.
TEST(Offset, DrawsWhatItsPlatesNeed) {
  const auto draws = [](int channels, const char* keys) {
    Rng rng = rng_from_key({11}), counted = rng;
    run_off(Image(8, 8, channels, 0.5f), press_of(keys), 25.0, &rng);
    int n = 0;
    for (const std::uint64_t next = rng.next(); counted.next() != next && n < 1000;) ++n;
    return n;
  };
  EXPECT_EQ(4 * 2 + 3 * 4, draws(3, R"({"misregister_mm": 0.05})"));
  EXPECT_EQ(4 * 2, draws(3, R"({"misregister_mm": 0.01})"));
  EXPECT_EQ(3 * 4, draws(3, R"({"misregister_mm": 0.05, "lpi": 1200})"));
  EXPECT_EQ(2, draws(1, R"({"misregister_mm": 0.05})"));
}

}  // namespace
}  // namespace morva
