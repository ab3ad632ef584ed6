// The walk from a picture to the sheet: grey, determinism, scale, border and what the flow
// measures.

#include "engine/flow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "engine/film_area.h"
#include "engine/host.h"
#include "engine/options.h"
#include "engine/sheet.h"
#include "image/vector/isa.h"

namespace morva {
namespace {

const ProfileStore& maker() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

class Flow : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0, morva_profiles_load(MORVA_PROFILES_PATH, nullptr)); }
};

TEST_F(Flow, MidGreyPrintsAsMidGreyThroughEveryFilm) {
  for (const std::string& film : maker().list("films", true)) {
    if (truthy(get(maker().load("films", film), "look"))) continue;
    for (const std::string& paper : maker().list("papers", true)) {
      const Json record = maker().load("papers", paper);
      if (truthy(get(record, "tone"))) continue;
      const Rendered r =
          render(Scene(5, 4, 0.18f), R"({"wb_mode": "custom", "grade": 2, "grain_mult": 0})",
                 film.c_str(), paper.c_str());
      ASSERT_EQ(0, r.code) << r.message;
      for (const float v : r.pixels) ASSERT_NEAR(0.18, v, 0.0009) << film << " on " << paper;
    }
  }
}

// Grains that need no light are a little density everywhere.
TEST_F(Flow, GrainsFogLightensASilverPrint) {
  for (const int width : {300, 3000}) {
    const Rendered r = render(Scene(width, 20, 0.18f), nullptr, "silver_400", nullptr);
    ASSERT_EQ(0, r.code) << r.message;
    double mean = 0.0;
    for (const float v : r.pixels) mean += v / static_cast<double>(r.pixels.size());
    EXPECT_GT(mean, 0.19) << width;
    EXPECT_LT(mean, 0.205) << width;
  }
}

Scene speckled(int width, int height) {
  Scene scene(width, height, 0.0f);
  for (std::size_t i = 0; i < scene.pixels.size(); ++i)
    scene.pixels[i] =
        static_cast<float>((i * 2654435761u) % 1000) * 0.002f + (i % 997 == 0 ? 20.0f : 0.0f);
  return scene;
}

// Pixels of 180 and of 15 micrometres: grain by its moments and grain by grain.
TEST_F(Flow, TheSameCallGivesTheSameBytesOnEveryInstructionSet) {
  const auto options = [](const std::string& dev) {
    return R"({"push": 1, "filter_rays": "star_four", "wb_temp": 30, "print_white": 0.4,
        "filter_diffusion": "mist_dense", "filter_grad": "grad_sunset", "dev": ")" +
           dev + "\"}";
  };
  for (const Scene& scene : {speckled(203, 131), speckled(2400, 9)})
    for (const auto& film : {std::pair{"everyday_400", "hand"}, {"silver_400", "stand"}}) {
      const auto again = [&] {
        return render(scene, options(film.second).c_str(), film.first, nullptr);
      };
      const Rendered first = again();
      ASSERT_EQ(0, first.code) << first.message;
      EXPECT_EQ(first.pixels, again().pixels);
      for (const vector::Isa isa :
           {vector::Isa::baseline, vector::Isa::avx2, vector::Isa::avx512}) {
        vector::use_isa(isa);
        EXPECT_EQ(first.pixels, again().pixels)
            << film.first << ", " << static_cast<int>(vector::active_isa());
      }
      vector::use_isa(vector::best_isa());
    }
}

TEST_F(Flow, OnePixelReachesThePrint) {
  for (const std::string& film : maker().list("films", true)) {
    const Rendered r = render(Scene(1, 1, 0.4f), nullptr, film.c_str(), nullptr);
    EXPECT_EQ(0, r.code) << r.message;
    EXPECT_EQ(3u, r.pixels.size());
  }
}

TEST_F(Flow, BordersFollowThePaper) {
  const Scene scene(100, 60, 0.18f);
  const Rendered sheet =
      render(scene, R"({"border": 0.05, "border_black": true})", "silver_50", "bw_warm");
  EXPECT_EQ(110, sheet.width);
  EXPECT_EQ(70, sheet.height);
  EXPECT_NEAR(0.955, sheet.at(0, 0)[1], 1e-6);
  const Rendered scan =
      render(scene, R"({"border": 0.05, "border_black": true})", "everyday_400", "color_scan");
  EXPECT_EQ(110, scan.width);
  EXPECT_LT(scan.at(0, 0)[0], 0.02f);
  const Rendered dark = render(Scene(8, 8, 0.0f), nullptr, "everyday_400", "color_scan");
  EXPECT_NEAR(dark.at(0, 0)[0], scan.at(0, 0)[0], 1e-6);
  EXPECT_EQ(100, render(scene, R"({"border": -1})", "silver_50", nullptr).width);
}

// Papers that later stages print on already give three channels and read their options.
TEST_F(Flow, PapersOfThePressAndPlatesKeepTheirShape) {
  RenderContext ctx;
  const Json film = maker().load("films", "silver_50");
  const Image scene(6, 8, 3, 0.18f);
  const auto printed = [&](const Json& paper, const Json& options) {
    return process(maker(), scene, film, Json::object(), paper, options, ctx);
  };
  const Image pressed =
      printed({{"repro", "offset"}, {"sheet", false}}, {{"border", 0.25}, {"border_black", true}});
  EXPECT_EQ(3, pressed.c);
  EXPECT_EQ(12, pressed.w);
  EXPECT_EQ(pressed.at(0, 0, 0), pressed.at(0, 0, 2));
  EXPECT_EQ(8, printed({{"kind", "plate"}}, {{"border", 0.25}}).w);
  EXPECT_THROW(printed({{"kind", "plate"}}, {{"border", "abc"}}), std::runtime_error);
  EXPECT_THROW(process(maker(), Image(6, 8, 1), film, Json(), Json::object(), Json(), ctx),
               std::invalid_argument);
  EXPECT_THROW(printed(Json(), Json()), std::invalid_argument);
}

TEST_F(Flow, MirrorAndTurnsReachThePicture) {
  Scene scene(3, 2, 0.02f);
  scene.pixels[0] = scene.pixels[1] = scene.pixels[2] = 1.0f;
  const auto brightest = [&](const char* options) {
    const Rendered r = render(scene, options, "silver_50", nullptr);
    int best = 0;
    for (int i = 0; i < r.width * r.height; ++i)
      if (r.pixels[3 * i] > r.pixels[3 * best]) best = i;
    return std::to_string(r.width) + ":" + std::to_string(best);
  };
  EXPECT_EQ("3:0", brightest("{}"));
  EXPECT_EQ("3:2", brightest(R"({"mirror": true})"));
  EXPECT_EQ("2:1", brightest(R"({"rotate": 89.9})"));
  EXPECT_EQ("2:4", brightest(R"({"rotate": -90})"));
  EXPECT_EQ("3:5", brightest(R"({"rotate": 180})"));
}

TEST_F(Flow, TheMasterCapBoundsTheRaster) {
  const Json opts = merged_options(Json());
  const Json film = Json::object();
  const FilmArea area = plan_film_area(film, opts, 9000, 30, 9000, 30);
  EXPECT_EQ(36000.0, area.long_um);
  const Image capped = fit_master(Image(30, 9000, 3, 0.5f), film, area, opts);
  EXPECT_EQ(6545, capped.w);
  EXPECT_EQ(22, capped.h);
  EXPECT_EQ(9000,
            fit_master(Image(30, 9000, 3), film, area, merged_options({{"master_cap", false}})).w);
  EXPECT_EQ(40, fit_master(Image(30, 40, 3), film, area, opts).w);
  // The film's own format counts only where the option is switched off.
  const Json half = {{"format_default", "half"}};
  EXPECT_EQ(36000.0, plan_film_area(half, opts, 9, 6, 9, 6).long_um);
  EXPECT_EQ(24000.0,
            plan_film_area(half, merged_options({{"format", nullptr}}), 9, 6, 9, 6).long_um);
  EXPECT_EQ(56000.0, plan_film_area(half, merged_options({{"format", 120}}), 9, 6, 9, 6).long_um);
}

TEST_F(Flow, PrintScaleFollowsSheetAndPlate) {
  const auto scaled = [](const Json& user, const Json& paper, bool instant = false) {
    Json opts = merged_options(user);
    update_print_scale(opts, paper, instant, 36000.0, 3000, 3300);
    return opts;
  };
  EXPECT_NEAR(300000.0 / 3300.0, scaled({}, Json::object())["print_px_um"].get<double>(), 1e-12);
  const Json sheet = scaled({{"sheet_cm", 24}, {"border", 0.1}}, Json::object());
  EXPECT_NEAR(24.0 / (2.0 * 0.1 * 3000 / 3300 + 1.0), sheet["print_cm"].get<double>(), 1e-12);
  EXPECT_EQ(30.0, scaled({{"sheet_cm", 24}}, Json::object(), true)["print_cm"]);
  EXPECT_EQ(1.0, scaled({{"sheet_cm", 0.5}}, Json::object())["print_cm"]);
  EXPECT_EQ(3.6, scaled({}, {{"kind", "plate"}})["print_cm"]);
}

TEST(Sheet, WhiteFrameIsTheDeepestRaggedness) {
  Image mask(40, 60, 1);
  for (int y = 5; y < 36; ++y)
    for (int x = 4; x < 58; ++x) mask.at(y, x) = 1.0f;
  for (int x = 4; x < 11; ++x) mask.at(20, x) = 0.5f;   // a bite from the left
  for (int y = 33; y < 36; ++y) mask.at(y, 30) = 0.0f;  // and one from below
  const auto white = measure_white_frame(mask, 52.7, nullptr);
  ASSERT_TRUE(white);
  EXPECT_EQ((std::array<double, 4>{5, 7, 11, 2}), *white);
  // A preset shrinks the box by the gate's corners and adds what they take.
  const Json thin = {{"frame_style", "thin"}};
  const RebateStyle style = rebate_style(thin);
  const auto framed = measure_white_frame(mask, 52.0, style.preset);
  ASSERT_TRUE(framed);
  EXPECT_NEAR(5 + 2 * 0.293, (*framed)[0], 1e-12);
  EXPECT_FALSE(measure_white_frame(Image(40, 60, 1), 52.0, nullptr));
  EXPECT_FALSE(measure_white_frame(mask, 0.0, style.preset));
}

TEST(Sheet, RebateStylesTakeTheirDefaults) {
  const RebateStyle wide =
      rebate_style({{"frame_style", "wide"}, {"frame", 0}, {"frame_rough", 1}});
  EXPECT_EQ(0.036, wide.width);
  EXPECT_EQ(0.62, wide.preset->gate_corner);
  EXPECT_EQ(0.1, rebate_style({{"frame_style", "thin"}, {"frame", 0.1}}).width);
  EXPECT_EQ(nullptr, rebate_style(Json::object()).preset);
  EXPECT_EQ(-1.0, rebate_style({{"frame", -1}}).width);
}

TEST(Sheet, BaseCoversWhatTheMaskLeavesOut) {
  Image print(1, 2, 3, 0.4f), mask(1, 2, 1);
  mask.data = {1.0f, 0.25f};
  lay_base_outside(print, mask, {1.0f, 0.8f, 0.0f});
  EXPECT_EQ(0.4f, print.at(0, 0, 1));
  EXPECT_NEAR(0.25 * 0.4 + 0.75 * 0.8, print.at(0, 1, 1), 1e-7);
}

TEST(Sheet, ScansHaveNone) {
  EXPECT_FALSE(paper_has_sheet({{"kind", "scan"}}));
  EXPECT_FALSE(paper_has_sheet({{"sheet", false}}));
  EXPECT_TRUE(paper_has_sheet({{"sheet", 0}}));
  EXPECT_TRUE(paper_has_sheet(Json::object()));
}

TEST(Options, KeysMergeOverDefaults) {
  const Json merged = merged_options({{"format", nullptr}, {"crop", {0, 0, 1, 1}}});
  EXPECT_TRUE(merged["format"].is_null());
  EXPECT_EQ(93u, merged.size());
  EXPECT_EQ(20260821, merged["seed"]);
  EXPECT_FALSE(merged.contains("_source_gain"));
}

}  // namespace
}  // namespace morva
