// Which raster the pixels carry, and how far a picture is enlarged for one that they do not.

#include "repro/raster_plan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace morva {
namespace {

const Json kNone = Json::object();

Json offset_paper(Json lpi) {
  return {{"repro", "offset"}, {"offset", {{"lpi", std::move(lpi)}}}};
}

// Pixels of which a period of the screen holds `period_px`.
RasterScale scale_of_screen(double period_px, int side = 1000, const Json& options = kNone) {
  return plan_raster_scale(offset_paper(254.0), options, side, side, 100.0 / period_px);
}

TEST(RasterPlan, PeriodsAreThoseOfTheSheet) {
  const auto period = [](const char* paper) {
    return plan_raster(Json::parse(paper), kNone, 50.0).period_um;
  };
  EXPECT_DOUBLE_EQ(period(R"({"repro": "offset"})"), 25400.0 / 150.0);
  EXPECT_DOUBLE_EQ(period(R"({"repro": "inkjet"})"), 75.0);
  EXPECT_DOUBLE_EQ(period(R"({"repro": "inkjet", "inkjet": {"drop_um": 20}})"), 50.0);
  EXPECT_DOUBLE_EQ(period(R"({"repro": "crt"})"), 720.0);
  EXPECT_DOUBLE_EQ(period(R"({"repro": "crt", "crt": {"mask": "mask", "pitch_mm": 0.3}})"), 300.0);
  EXPECT_EQ(period(R"({"repro": "crt", "crt": {"mask": "none"}})"), 0.0);
  EXPECT_EQ(period(R"({"repro": "plotter"})"), 0.0);
  EXPECT_EQ(period("{}"), 0.0);
}

TEST(RasterPlan, AScreenIsEnlargedUntilItsDotsAreClean) {
  struct Case {
    double period_px, up;
    int over;
    double drawn_px;
  };
  // Out of reach; just within it, where rounding must not decide; enlarged once; twice; not at all.
  for (const Case& c : {Case{1.49, 1.0, 1, 1.49},
                        {1.5, 2.0, 2, 6.0},
                        {1.7, 2.0, 2, 6.8},
                        {3.0, 2.0, 1, 6.0},
                        {4.0, 1.5, 1, 6.0},
                        {6.0, 1.0, 1, 6.0},
                        {20.0, 1.0, 1, 20.0}}) {
    const RasterScale scale = scale_of_screen(c.period_px);
    EXPECT_NEAR(scale.up, c.up, 1e-12) << c.period_px;
    EXPECT_EQ(scale.over, c.over) << c.period_px;
    const RasterPlan drawn = enlarged_plan(scale, 100.0 / c.period_px);
    EXPECT_NEAR(drawn.period_px, c.drawn_px, 1e-9);
    EXPECT_EQ(drawn.resolved, c.drawn_px > 2.9);
  }
  const Json off = {{"repro_raster", "off"}}, other = {{"repro_raster", "fine"}};
  EXPECT_EQ(scale_of_screen(1.7, 1000, off).up, 1.0);
  EXPECT_EQ(scale_of_screen(1.7, 1000, off).over, 1);
  EXPECT_EQ(scale_of_screen(1.7, 1000, other).up, 2.0);
  EXPECT_NEAR(scale_of_screen(1.7, 9000).up, 16000.0 / 9000.0, 1e-12);
  for (const int side : {12000, 16000, 32000}) EXPECT_EQ(scale_of_screen(1.7, side).up, 1.0);
}

// Sizes of pixels at which a plan that just fits is computed a hair below and above.
TEST(RasterPlan, RoundingDoesNotDecide) {
  for (int px = 1; px < 4000; ++px) {
    const double px_um = 0.37 * px;
    for (const double period_px : {1.5, 3.0, 6.0}) {
      const Json paper = offset_paper(25400.0 / (period_px * px_um));
      const RasterScale scale = plan_raster_scale(paper, kNone, 100, 100, px_um);
      ASSERT_NEAR(scale.up * scale.over * period_px, 6.0, 1e-9) << px_um;
      ASSERT_TRUE(enlarged_plan(scale, px_um).resolved);
    }
    // A drop of two pixels has a soft edge, one of a hair less has none.
    for (const double period_px : {1.0, 1.13, 1.4, 1.75, 2.0}) {
      const Json jet = {{"repro", "inkjet"},
                        {"inkjet", {{"spread_um", 0}, {"drop_um", period_px * px_um}}}};
      const RasterScale scale = plan_raster_scale(jet, kNone, 100, 100, px_um);
      ASSERT_EQ(scale.over, 1);
      ASSERT_EQ(enlarged_plan(scale, px_um).period_px, 2.0) << px_um << " " << period_px;
    }
  }
}

TEST(RasterPlan, ARasterThatIsHeldWholeFitsTheMemory) {
  struct Case {
    int h, w;
    double up;
    int over;
    double held_up;
    int held_over;
  };
  for (const Case& c : {Case{4096, 2048, 2.0, 2, 2.0, 2}, Case{4097, 2048, 2.0, 2, 2.0, 1},
                        Case{8192, 8192, 2.0, 2, std::sqrt(2.0), 1},
                        Case{16000, 16000, 1.0, 2, 1.0, 1}, Case{30000, 30000, 1.0, 1, 1.0, 1}}) {
    RasterScale scale;
    scale.up = c.up;
    scale.over = c.over;
    const RasterScale held = scale_held_whole(scale, c.h, c.w);
    EXPECT_NEAR(held.up, c.held_up, 1e-12) << c.h;
    EXPECT_EQ(held.over, c.held_over) << c.h;
  }
}

TEST(RasterPlan, ATubeIsEnlargedForItsLinesToo) {
  const auto up = [](const char* tube, int h) {
    const Json paper = {{"repro", "crt"}, {"crt", Json::parse(tube)}};
    return plan_raster_scale(paper, kNone, h, h, 1000.0).up;
  };
  const char* bare = R"({"mask": "none", "lines": 100})";
  EXPECT_EQ(up(bare, 149), 1.0);
  EXPECT_EQ(up(bare, 150), 2.0);
  EXPECT_NEAR(up(bare, 320), 1.25, 1e-12);
  EXPECT_EQ(up(bare, 401), 1.0);
  EXPECT_EQ(up(R"({"mask": "delta", "lines": 100, "pitch_mm": 3.0})", 401), 2.0);
  EXPECT_EQ(up(R"({"mask": "none", "lines": 0})", 2), 2.0);
}

TEST(RasterPlan, WhatIsNoLengthIsNoRaster) {
  for (const Json& lpi : {Json(0), Json(-150), Json(-0.0), Json(std::nan("")), Json(INFINITY)}) {
    const RasterScale scale = plan_raster_scale(offset_paper(lpi), kNone, 100, 100, 50.0);
    EXPECT_EQ(scale.plan.period_px, 0.0) << lpi;
    EXPECT_FALSE(scale.plan.resolved);
    EXPECT_EQ(scale.up, 1.0);
  }
  for (const double lpi : {1e30, 1e-30, 1e-320})
    for (const double px_um : {1e30, 50.0, 0.0, -1.0, std::nan("")}) {
      const RasterScale scale = plan_raster_scale(offset_paper(lpi), kNone, 100, 100, px_um);
      EXPECT_TRUE(std::isfinite(enlarged_plan(scale, px_um).period_px)) << lpi << " " << px_um;
      EXPECT_LE(scale.up * scale.over, 4.0);
    }
  EXPECT_EQ(enlarged_side(1, 0.2), 1);
  EXPECT_GT(enlarged_side(16000, 1e30), 16000);
}

}  // namespace
}  // namespace morva
