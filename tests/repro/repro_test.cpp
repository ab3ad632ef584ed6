// The way of a print to its medium: which one, which raster the pixels carry, and how far a picture
// is enlarged for one that they do not.

#include "repro/repro.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "image/errors.h"
#include "input/failure_of.h"
#include "print/pictures.h"
#include "profiles/store.h"
#include "repro/raster_plan.h"

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

TEST(RasterPlan, AScreenIsEnlargedUntilItsDotsAreClean) {
  // Out of reach; just within it, where rounding must not decide; enlarged twice, once; not at all.
  const std::array<double, 3> cases[] = {{1.49, 1.0, 1}, {1.5, 2.0, 2}, {1.7, 2.0, 2},
                                         {3.0, 2.0, 1},  {4.0, 1.5, 1}, {6.0, 1.0, 1},
                                         {20.0, 1.0, 1}};
  for (const auto& [period_px, up, over] : cases) {
    const RasterScale scale = scale_of_screen(period_px);
    EXPECT_NEAR(scale.up, up, 1e-12) << period_px;
    EXPECT_EQ(scale.over, over) << period_px;
    const RasterPlan drawn = enlarged_plan(scale, 100.0 / period_px);
    EXPECT_NEAR(drawn.period_px, period_px * up * over, 1e-9);
    EXPECT_EQ(drawn.resolved, period_px > 1.49);
  }
  const RasterScale off = scale_of_screen(1.7, 1000, {{"repro_raster", "off"}});
  EXPECT_TRUE(off.up == 1.0 && off.over == 1);
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
  // Height, width, up and over as wanted and as held.
  const std::array<double, 6> cases[] = {{4096, 2048, 2.0, 2, 2.0, 2},
                                         {4097, 2048, 2.0, 2, 2.0, 1},
                                         {8192, 8192, 2.0, 2, std::sqrt(2.0), 1},
                                         {16000, 16000, 1.0, 2, 1.0, 1},
                                         {30000, 30000, 1.0, 1, 1.0, 1}};
  for (const auto& [h, w, up, over, held_up, held_over] : cases) {
    const RasterScale wanted = {{}, up, static_cast<int>(over)};
    const RasterScale held = scale_held_whole(wanted, static_cast<int>(h), static_cast<int>(w));
    EXPECT_NEAR(held.up, held_up, 1e-12) << h;
    EXPECT_EQ(held.over, held_over) << h;
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

Image ramp(int h, int w, int c) {
  Image picture(h, w, c);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = static_cast<float>(i % 97) / 96.0f;
  return picture;
}

Image reproduced(Image print, const Json& paper, double px_um,
                 const Json& options = Json::object()) {
  Rng rng = rng_from_key({20260821, 3, 0});
  RenderContext ctx;
  return repro_stage(std::move(print), paper, options, px_um, rng, ctx);
}

TEST(Repro, ThePictureKeepsItsSizeOnEveryMedium) {
  const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};  // where drops are placed
  for (const char* medium : {"inkjet", "offset", "crt"})
    for (const auto& [h, w] : {std::pair(1, 1), {1, 23}, {31, 1}, {37, 53}})
      for (const int c : {1, 3})
        for (const double px_um : {12.0, 60.0, 120.0, 400.0, 1e-30, 1e30})
          for (const char* raster : {"auto", "off"}) {
            const Image sheet =
                reproduced(ramp(h, w, c), {{"repro", medium}}, px_um, {{"repro_raster", raster}});
            ASSERT_TRUE(sheet.h == h && sheet.w == w && sheet.c == 3) << medium << " " << px_um;
            ASSERT_TRUE(is_light(sheet)) << medium << " " << px_um;
          }
}

TEST(Repro, AnyBlockGivesASheet) {
  const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  const std::pair<const char*, std::vector<const char*>> blocks[] = {
      {"inkjet",
       {"gain", "gain_comp", "gcr", "drop_um", "spread_um", "misalign_drops", "psf_um", "mottle",
        "swath_mm", "pass_var", "seam_amp", "ripple", "nozzle_mm"}},
      {"offset",
       {"lpi", "misregister_mm", "dot_gain", "gain_comp", "tac", "gcr", "psf_um", "mottle"}}};
  for (const auto& [medium, keys] : blocks)
    for (const char* key : keys)
      for (const Json& value : {Json(0), Json(-3.0), Json(0.6), Json(1e-30), Json(1e30),
                                Json(-1e30), Json(std::nan("")), Json("nan"), Json("inf")})
        for (const int channels : {1, 3})
          for (const double px_um : {0.0, 1e-30, 25.0, 1e30}) {
            const Json paper = {{"repro", medium}, {medium, {{key, value}}}};
            try {
              EXPECT_TRUE(is_light(reproduced(ramp(13, 19, channels), paper, px_um)))
                  << paper << px_um;
            } catch (const OptionsError&) {  // a text that is no number
            }
          }
}

// A raster that is carried only when it is drawn larger still leaves its screen in the picture.
TEST(Repro, ALargerRasterIsSeenFromAfar) {
  const Json paper = {{"repro", "offset"}, {"offset", {{"psf_um", 0}, {"misregister_mm", 0}}}};
  const Json off = {{"repro_raster", "off"}};
  const double px_um = 100.0;
  ASSERT_FALSE(plan_raster(paper, off, px_um).resolved);
  const Image grey(60, 60, 3, 0.3f);
  const auto range = [&](const Json& options) {
    const Image sheet = extract_channel(reproduced(grey, paper, px_um, options), 0);
    const auto [least, most] = std::minmax_element(sheet.data.begin(), sheet.data.end());
    return *most - *least;
  };
  EXPECT_LT(range(off), 1e-6);
  EXPECT_GT(range(Json::object()), 0.03);
}

TEST(Repro, AnUnknownNameIsTold) {
  const auto told = [](const char* paper) {
    return testing_files::failure_of([&] { reproduced(ramp(2, 2, 3), Json::parse(paper), 60.0); });
  };
  EXPECT_EQ("печать: тираж (reproprint — plotter)", told(R"({"repro": "plotter"})"));
  for (const char* paper : {R"({"repro": "offset", "offset": {"inks": "gold"}})",
                            R"({"repro": "inkjet", "inkjet": {"base": "Coated"}})",
                            R"({"repro": "inkjet", "inkjet": {"inks": "none"}})",
                            R"({"repro": "crt", "crt": {"phosphor": "ruby"}})"})
    EXPECT_EQ("invalid map<K, T> key", told(paper));
  for (const char* paper : {"{}", R"({"repro": ""})", R"({"repro": null})"})
    EXPECT_EQ(reproduced(ramp(2, 3, 3), Json::parse(paper), 60.0).data, ramp(2, 3, 3).data);
}

TEST(Repro, TheFilmLendsItsTubeToAPaperWithoutOne) {
  const Json film = {{"crt", {{"mask", "none"}}}}, own = {{"crt", {{"mask", "mask"}}}};
  EXPECT_EQ(with_tube_of(film, {{"crt", nullptr}}), film);
  EXPECT_EQ(with_tube_of(film, own), own);
}

}  // namespace
}  // namespace morva
