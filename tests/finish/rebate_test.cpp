#include "finish/rebate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <tuple>

#include "finish/gate_mask.h"
#include "finish/holder_edge.h"
#include "finish/notch_code.h"
#include "finish/rebate_plan.h"
#include "input/failure_of.h"

namespace morva {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
using Margins = std::array<int, 4>;

RebateStyle style_of(const char* name, double frame = 0.0) {
  return rebate_style({{"frame_style", name}, {"frame", frame}, {"frame_rough", 1.0}});
}

Rng rng_of(int seed) {
  return rng_from_key({seed, 2, 0});
}

Image mask_of(const RebatePlan& plan, const RebateStyle& style, int seed) {
  Rng rng = rng_of(seed);
  return gate_mask(plan, style.preset, style.rough, rng);
}

RebatePlan roll(int h, int w, const char* style, double cm) {
  return plan_rebate_by_format(h, w, "120", style_of(style),
                               std::max(h, w) / (cm > 6 ? 84.0 : 56.0), cm, 1.0);
}

// A 4 x 5 in sheet at ten pixels a millimetre.
RebatePlan sheet(int h, int w) {
  return plan_rebate_by_format(h, w, "sheet", style_of("wide"), 10.0, 6.0, 1.0);
}

TEST(RebatePlan, MarginsAreThoseOfTheFormat) {
  EXPECT_EQ(plan_rebate_by_fraction(400, 600, style_of("thin")).margins, (Margins{10, 10, 10, 10}));
  EXPECT_EQ(plan_rebate_by_fraction(400, 600, style_of("wide", -3.0)).margins,
            (Margins{22, 22, 22, 22}));
  // 0.6 mm at 15 px a millimetre, and the 0.45 / 0.55 of it in which the edge may wander.
  EXPECT_EQ(roll(840, 840, "thin", 6).margins, (Margins{16, 16, 16, 16}));
  // The rails lie along a 6x9, across a 6x4.5, and turn with the camera.
  EXPECT_EQ(roll(840, 1260, "wide", 9).margins, (Margins{12, 12, 23, 23}));
  EXPECT_EQ(roll(1260, 840, "wide", 9).margins, (Margins{23, 23, 12, 12}));
  EXPECT_EQ(roll(622, 840, "wide", 6).margins, (Margins{23, 23, 12, 12}));
  // Beside a sheet lie 1.5 mm of carrier.
  EXPECT_EQ(sheet(950, 1200).margins, (Margins{21, 21, 43, 37}));
  EXPECT_EQ(sheet(1200, 950).margins, (Margins{43, 37, 21, 21}));
}

TEST(RebatePlan, NoCanvasWithoutAWidth) {
  const auto expect_none = [](const RebatePlan& plan, const RebateStyle& style) {
    Rng rng = rng_of(1);
    EXPECT_FALSE(lay_rebate(Image(plan.h, plan.w, 3, 0.5f), plan, style, rng).mask);
  };
  for (const double frame : {0.0, -1e30, 0.0008})
    expect_none(plan_rebate_by_fraction(40, 60, style_of("none", frame)), style_of("none", frame));
  expect_none(roll(1, 1, "wide", 6), style_of("wide"));
}

TEST(RebatePlan, RefusesWhatNoSheetHolds) {
  for (const auto& [h, w, frame] :
       {std::tuple{40, 60, 1e30}, {40, 60, 250.0}, {16000, 20000, 0.25}, {10, 40000, 0.4}})
    EXPECT_THROW(plan_rebate_by_fraction(h, w, style_of("none", frame)), std::bad_alloc);
  // The size of the picture itself is no reason.
  EXPECT_EQ(plan_rebate_by_fraction(300, 40000, style_of("thin")).w, 41280);
  RebateStyle style = style_of("thin");
  style.width = kNan;
  EXPECT_THROW(plan_rebate_by_fraction(40, 60, style), std::bad_alloc);
  for (const double scale : {kNan, 1e30})
    EXPECT_THROW(plan_rebate_by_format(40, 60, "sheet", style_of("wide"), scale, 6, 1),
                 std::bad_alloc);
  EXPECT_EQ("кайма по формату: стиль ragged",
            testing_files::failure_of([] { roll(40, 60, "ragged", 6); }));
}

TEST(GateMask, EdgesStayBetweenTheirLimits) {
  for (const char* name : {"thin", "wide", "none"})
    for (const double rough : {0.0, 1.0, -4.0, 30.0, 1e9, kNan, 1e300}) {
      RebateStyle style = style_of(name, 0.05);
      style.rough = rough;
      const RebatePlan plan = plan_rebate_by_fraction(200, 300, style);
      const double margin = plan.margins[kTopSide];
      const double nearest = (style.preset ? style.preset->inner_limit : 0.22) * margin;
      Rng rng = rng_of(3);
      const EdgeLines lines = carrier_edges(plan, style.preset, style.rough, rng);
      for (int side = 0; side < 4; ++side)
        for (const float at : lines[side]) {
          const double outs[] = {margin - at, at - (plan.h - 1 - margin), margin - at,
                                 at - (plan.w - 1 - margin)};
          const double out = outs[side];
          ASSERT_GE(out, nearest - 1e-4) << name << rough;
          ASSERT_LE(out, 0.95 * margin + 1e-4) << name << rough;
        }
    }
}

// Straight edges, so that only softness is left: hard and soft sides, and both ends of its range.
TEST(GateMask, SidesAreHardOrSoft) {
  RebatePreset preset = *style_of("wide").preset;
  preset.wander = preset.position_jitter = 0.0;
  const RebatePlan plan = plan_rebate_by_fraction(400, 600, style_of("none", 0.1));
  int hard = 0, soft = 0, softest = 0;
  for (const double rough : {0.5, 1.0, 3.0})
    for (int seed = 0; seed < 5; ++seed) {
      Rng rng = rng_of(seed), own = rng;
      const Image mask = gate_mask(plan, &preset, rough, rng);
      own.skip(static_cast<std::uint64_t>(2 + 4 * 3 + 4 * (plan.w + plan.h)));
      for (int side = 0; side < 4; ++side) {
        const double u = own.uniform();
        double a = u < 0.32 ? std::pow(u / 0.32, 2) * 0.3 : (u - 0.32) / 0.68 * 0.75 + 0.6;
        (u < 0.32 ? hard : soft) += 1;
        a = std::clamp((a - 1.0) * 0.9 * rough + 1.0, 0.0, 1.6);
        softest += a == 1.6;
        const double floor = 1.0 - a * 0.45, ramp = std::max(1.0, (0.65 * a + 0.35) * 9.0);
        for (const int in : {1, 4, 12}) {  // the edge lies 33 px outside the picture, 27 px in
          const int at = 27 + in;
          const double values[] = {mask.at(at, 360), mask.at(plan.h - 1 - at, 360),
                                   mask.at(260, at), mask.at(260, plan.w - 1 - at)};
          const double wanted = (1.0 - floor) * std::min(in / ramp, 1.0) + floor;
          ASSERT_NEAR(values[side], floor < 0.999 ? wanted : 1.0, 1e-4) << rough << " " << u;
        }
      }
    }
  EXPECT_TRUE(hard > 8 && soft > 20 && softest > 2);
}

TEST(GateMask, CornersAreArcs) {
  RebatePreset preset = *style_of("wide").preset;
  preset.edge_floor = 1.0;
  const RebatePlan plan = plan_rebate_by_fraction(400, 600, style_of("none", 0.1));
  Rng rng = rng_of(1);
  const Image mask = gate_mask(plan, &preset, 0.0, rng);
  const double radius = 60 * 0.62, centre = 27 + radius;
  for (int y = 20; y < 80; ++y)
    for (int x = 20; x < 80; ++x) {
      double inside = std::min(y, x) - 27;
      if (y < centre && x < centre)
        inside = std::min(inside, radius - std::hypot(y - centre, x - centre));
      ASSERT_NEAR(double{mask.at(y, x)}, std::clamp(inside + 0.5, 0.0, 1.0), 1e-4) << y << " " << x;
      ASSERT_NEAR(mask.at(y, x), mask.at(plan.h - 1 - y, plan.w - 1 - x), 1e-4f);
    }
}

// A fade takes some twenty pixels here; a jump would show as a notch in the side.
TEST(GateMask, FadesWithoutASeam) {
  const RebateStyle style = style_of("wide");
  const RebatePlan plan = plan_rebate_by_fraction(2000, 3000, style);
  for (int seed = 0; seed < 4; ++seed) {
    const Image mask = mask_of(plan, style, seed);
    const auto on_film = [&](int y, int x) {
      return std::min({mask.at(y - 2, x), mask.at(y + 2, x), mask.at(y, x - 2),
                       mask.at(y, x + 2)}) > 0.3f;
    };
    for (int y = 2; y < 400; ++y)
      for (int x = 2; x < 400; ++x)
        for (const float next : {mask.at(y + 1, x), mask.at(y, x + 1)})
          ASSERT_TRUE(!on_film(y, x) || std::fabs(mask.at(y, x) - next) <= 0.06f)
              << seed << " " << y << " " << x;
  }
}

// The half shadow is as wide as the corner's radius here, and follows its arc.
TEST(PictureWindow, HalfShadowRunsRoundTheCorner) {
  const RebatePlan plan =
      plan_rebate_by_format(2000, 3000, "120", style_of("thin"), 40.0, 9.0, 1.0);  // 6 px each
  const auto light = [&](int y, int x) { return window_light(plan.window, 2000, 3000, y, x); };
  EXPECT_NEAR(light(2, 1500), 2.5 / 6.0, 1e-12);
  EXPECT_NEAR(light(2, 2), 1.0 - 3.5 * std::sqrt(2.0) / 6.0, 1e-12);
  EXPECT_EQ(light(0, 0), 0.0);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 9; ++x) {
      ASSERT_LE(light(y, x), light(y, x + 1));
      ASSERT_LE(light(y, x + 1) - light(y, x), 1.0 / 6.0 + 1e-9) << y << " " << x;  // no seam
    }
}

TEST(PictureWindow, SheetLiesUnderTwoEarsWhereItIsLoaded) {
  const RebatePlan level = sheet(950, 1200);
  const auto light = [&](int y, int x) { return window_light(level.window, 950, 1200, y, x); };
  for (const int y : {0, 17, 949 - 17}) EXPECT_EQ(light(y, 1200 - 178), 0.0) << y;  // 1.9 x 18 mm
  for (const int y : {20, 949 - 20}) EXPECT_EQ(light(y, 1200 - 100), 1.0) << y;
  for (const int x : {1, 500, 1200 - 183}) EXPECT_EQ(light(1, x), 1.0) << x;
  EXPECT_EQ(light(475, 1198), 1.0);
  // The same holder turned by a quarter, pixel by pixel; and the picture's fast path agrees.
  const RebatePlan upright = sheet(1200, 950);
  Image picture(950, 1200, 1, 1.0f);
  darken_outside_window(picture, level.window);
  for (int y = 0; y < 950; ++y)
    for (int x = 0; x < 1200; ++x) {
      ASSERT_DOUBLE_EQ(light(y, x), window_light(upright.window, 1200, 950, x, 949 - y));
      ASSERT_EQ(picture.at(y, x), static_cast<float>(light(y, x))) << y << " " << x;
    }
}

TEST(PictureWindow, RollFilmGateSlantsBesideItsRails) {
  const RebatePlan plan = roll(840, 1260, "wide", 9);  // the cut is 6.75 px deep, 11.25 px long
  const auto light = [&](int y, int x) { return window_light(plan.window, 840, 1260, y, x); };
  EXPECT_LT(light(0, 3), 0.1);
  EXPECT_LT(light(420, 0), 0.3);  // the half shadow of 2.25 px at the other sides
  for (const auto& [y, x] : {std::pair{0, 20}, {9, 4}, {0, 630}}) EXPECT_EQ(light(y, x), 1.0);
}

// The code is read by its holes: where they are, and how much film they take.
TEST(NotchCode, IsCutIntoTheLoadingSide) {
  for (const bool is_level : {true, false}) {
    const RebatePlan plan = is_level ? sheet(950, 1200) : sheet(1200, 950);
    const Image whole = mask_of(plan, style_of("wide"), 4);
    Image mask = whole;
    cut_notch_code(mask, plan);
    double cut_px = 0.0;
    int first = 100000, last = 0, deepest = 0;
    for (int y = 0; y < mask.h; ++y)
      for (int x = 0; x < mask.w; ++x) {
        const float lost = whole.at(y, x) - mask.at(y, x);
        cut_px += lost;
        if (lost < 0.5f) continue;
        // Film edges: 6 px of margin on the long sides, 22 on the loading side.
        const int along = is_level ? y - 15 : mask.w - 16 - x;
        const int in = is_level ? mask.w - 16 - x : mask.h - 16 - y;
        first = std::min(first, along), last = std::max(last, along);
        deepest = std::max(deepest, in);
      }
    EXPECT_NEAR(cut_px / 100.0, 2 * 1.92 + 0.7 * 1.8 + 3.14159 * 0.405 + 3.0, 0.15);  // mm^2
    EXPECT_NEAR(first, 50, 1.5);
    EXPECT_NEAR(last, 50 + 24 + 18 + 20 + 24 + 30, 1.5);
    EXPECT_NEAR(deepest, 16, 1.5);
  }
}

TEST(Rebate, ThePictureLiesInTheDarkAndChanceMovesTheCarrierAlone) {
  const RebateStyle style = style_of("wide");
  const RebatePlan plan = plan_rebate_by_format(950, 1200, "120", style, 15.0, 9.0, 1.0);
  const auto lay = [&](int seed) {
    Rng rng = rng_of(seed);
    return lay_rebate(Image(950, 1200, 3, 0.7f), plan, style, rng);
  };
  const Rebate once = lay(1);
  EXPECT_EQ(once.work.data, lay(2).work.data);
  EXPECT_NE(once.mask->data, lay(2).mask->data);
  const auto [top, bottom, left, right] = plan.margins;
  EXPECT_EQ(once.work.h, 950 + top + bottom);
  for (int y = 0; y < once.work.h; ++y)
    for (int x = 0; x < once.work.w; ++x) {
      const bool in_picture = y >= top && y < top + 950 && x >= left && x < left + 1200;
      ASSERT_TRUE(in_picture ? once.mask->at(y, x) > 0.99f : once.work.at(y, x) == 0.0f);
    }
  EXPECT_EQ(once.work.at(top + 400, left + 600, 2), 0.7f);
}

}  // namespace
}  // namespace morva
