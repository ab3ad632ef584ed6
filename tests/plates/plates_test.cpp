// Plates of glass: one on a dark backing, where silver is light and glass is dark; and three on one
// screen: their filters and exposures, their register, their grain and the lanterns.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "film/develop_bw.h"
#include "plates/plate_view.h"
#include "plates/registration.h"
#include "plates/tricolor.h"
#include "print/pictures.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

Json film() {
  return Json::parse(R"({"type": "collodion", "grain": {"amount": 0.05, "size_um": 4},
    "collodion": {}, "negative": {"dmin": 0.1, "dmax": 1.6, "gamma": 1.2, "mid_density": 0.8}})");
}

Image densities(std::vector<float> values) {
  Image image(1, static_cast<int>(values.size()), 1);
  image.data = std::move(values);
  return image;
}

TEST(PlateView, ScattersByItsSilver) {
  const Json paper = Json::parse(R"({"plate_view": {"scatter": 0.5}})");
  const Image view =
      plate_view(densities({0.0f, 0.15f, 0.8f, 1.6f, 9.0f}), film(), paper, Json::object(), 0.15);
  const double share = (1.0 - std::pow(10.0, -0.65 * 0.5)) / (1.0 - std::pow(10.0, -1.45 * 0.5));
  EXPECT_EQ(0.012f, view.at(0, 0));  // thinner than the floor is no blacker
  EXPECT_EQ(0.012f, view.at(0, 1));
  EXPECT_NEAR(0.012 + 0.92 * share, view.at(0, 2), 1e-5);
  EXPECT_NEAR(0.018 + 0.84, view.at(0, 3, 2), 1e-5);
  EXPECT_LE(view.at(0, 4), 1.0f);
}

TEST(PlateView, TakesTheTintOfItsDeveloperAndTheViewersLight) {
  Json tinted = film();
  tinted["_silver_tint"] = {0.5, 1.0, 0.25};
  const Json paper =
      Json::parse(R"({"plate_view": {"silver": [0.8, 0.8, 0.8], "base": [0, 0, 0]}})");
  const auto lightest = [&](double ev, int k) {
    return plate_view(densities({1.6f}), tinted, paper, {{"print_ev", ev}}, 0.1).data[k];
  };
  const double wanted[] = {0.4, 0.8, 0.2};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(wanted[k], lightest(0.0, k), 1e-6);
  tinted["_silver_tint"] = {0.5, 1.0};  // not a colour
  EXPECT_NEAR(0.4, lightest(1.0, 0), 1e-6);
}

TEST(PlateView, WildNumbersLeaveAPicture) {
  for (const char* text : {R"({"plate_view": {"scatter": -1e30}})", R"({"plate_view": 7})",
                           R"({"plate_view": {"scatter": 1e30, "base": [0, 0, 0]}})"})
    for (const double ev : {-1e30, 1e30})
      EXPECT_TRUE(is_light(plate_view(densities({0.0f, 1.0f, 1e30f}), film(), Json::parse(text),
                                      {{"print_ev", ev}}, 2.0)))
          << text;
}

TEST(PlateFloor, IsThePlateThatSawNothing) {
  RenderContext ctx;
  EXPECT_EQ(0.1, plate_floor(film(), Json::parse(R"({"grain_mult": 0})"), 40.0, 0.1, 500, ctx));
  // Classic grain leaves the mean; marks of the pour are not part of it.
  EXPECT_NEAR(0.1, plate_floor(film(), Json::parse(R"({"plate_pour": 3})"), 40.0, 0.1, 500, ctx),
              2e-3);
}

TEST(PlatePositive, IsExposedForItsLightsAndKeepsTheOrderOfTones) {
  RenderContext ctx;
  Image scene(1, 5, 3);
  scene.data = {0, 0, 0, 0.05f, 0.05f, 0.05f, 0.18f, 0.18f, 0.18f, 0.9f, 0.9f, 0.9f, 20, 20, 20};
  const Json options = {{"grain_mult", 0}, {"plate_pour", 0}};
  const Json paper = Json::parse(R"({"kind": "plate"})");
  const Image view = plate_positive(scene, film(), paper, options, 40.0, ctx);
  for (int x = 1; x < 5; ++x) EXPECT_GT(view.at(0, x), view.at(0, x - 1));
  EXPECT_NEAR(0.012, view.at(0, 0), 1e-3);
  EXPECT_GT(view.at(0, 4), 0.9f);
  // A stop and a half less than a negative gets.
  Json brighter = paper;
  brighter["plate_view"]["positive_ev"] = 0.0;
  const Json held_back = {{"grain_mult", 0}, {"plate_pour", 0}, {"ev", -1.5}};
  EXPECT_EQ(view.data, plate_positive(scene, film(), brighter, held_back, 40.0, ctx).data);
}

Json plates_film() {
  return Json::parse(R"({"type": "tricolor", "grain": {"amount": 0},
    "negative": {"dmin": 0.1, "dmax": 2.4, "gamma": 0.8},
    "tricolor": {"filters": {"r": [1, 1, 1], "g": [1, 1, 1], "b": [2, 2, 2]}}})");
}

Json plate_options(double plate_shift) {
  return {{"seed", 7}, {"plate_shift", plate_shift}, {"grain_engine", "classic"}};
}

Image on_screen(const Image& scene, const Json& film, const Json& options, double px_um = 60.0,
                const Image* uneven = nullptr) {
  RenderContext ctx;
  return develop_tricolor(scene, film, options, px_um, uneven, ctx);
}

Image grey_scene(int h, int w) {
  Image scene(h, w, 3);
  for (std::size_t i = 0; i < scene.data.size(); ++i)
    scene.data[i] = 0.02f + 0.9f * static_cast<float>(i / 3 * 7 % 41) / 41.0f;
  return scene;
}

double correlation(const Image& image, int a, int b) {
  return correlation(extract_channel(image, a), extract_channel(image, b));
}

TEST(Tricolor, WithoutShiftThePlatesFallTogetherToTheBit) {
  const Image scene = grey_scene(40, 60);
  const Image screen = on_screen(scene, plates_film(), plate_options(0.0));
  for (std::size_t i = 0; i < screen.data.size(); ++i)
    ASSERT_EQ(screen.data[i - i % 3], screen.data[i]);
  const Image apart = on_screen(scene, plates_film(), plate_options(1.0));
  EXPECT_LT(correlation(apart, 0, 2), 0.99);
}

TEST(Tricolor, APositiveOfAMidGreyHasThePositivesMidDensity) {
  const Image scene(4, 4, 3, 0.18f), more(4, 4, 1, 0.2f);
  Json film = plates_film();
  EXPECT_NEAR(std::pow(10.0, -0.9), on_screen(scene, film, plate_options(1.0)).at(2, 2), 1e-4);
  // More density in the negative is less in the positive.
  for (const float v : on_screen(scene, film, plate_options(0.0), 60.0, &more).data)
    ASSERT_GT(v, std::pow(10.0, -0.7));
  film["tricolor"]["positive"] = {{"mid_density", 0.8}};
  EXPECT_NEAR(std::pow(10.0, -0.8), on_screen(scene, film, plate_options(1.0)).at(2, 2), 1e-4);
}

TEST(Tricolor, EachPlateSeesThroughItsOwnGlass) {
  Json film = plates_film();
  film["tricolor"]["filters"] = {{"r", {3, 0, 0}}, {"g", {0, 2, 0}}, {"b", {0, 0, 1}}};
  Image scene(1, 1, 3, 0.05f);
  scene.data[1] = 0.18f;
  const auto seen = [&] { return on_screen(scene, film, plate_options(1.0)).data; };
  const std::vector<float> screen = seen();
  EXPECT_NEAR(std::pow(10.0, -0.9), screen[1], 1e-4);
  EXPECT_LT(screen[0], 0.5f * screen[1]);
  EXPECT_EQ(screen[0], screen[2]);
  film["tricolor"]["plate_ev"] = {{"b", 1.0}};
  EXPECT_GT(seen()[2], screen[2]);
  film["tricolor"]["projection"] = {{0, 1, 0}, {0, 0, 0}, {0, 0, 9}};
  film["tricolor"]["cast"] = {1.0, 0.5, 1.0};
  EXPECT_EQ(screen[1] * 0.5f, seen()[0]);
  EXPECT_EQ(0.0f, seen()[1]);
}

TEST(Tricolor, TheLanternsDarkenTheCorners) {
  Json film = plates_film();
  film["tricolor"]["vignette"] = 0.5;
  const Image screen = on_screen(Image(41, 61, 3, 0.5f), film, plate_options(0.0));
  const float centre = screen.at(20, 30);
  EXPECT_NEAR(0.5, screen.at(0, 0) / centre, 0.04);
  EXPECT_GT(screen.at(20, 0) / centre, 0.7f);
}

TEST(Tricolor, EachPlateHasItsOwnGrain) {
  Json film = plates_film();
  film["grain"] = {{"amount", 0.1}, {"size_um", 8.0}};
  const Image even(96, 96, 3, 0.18f);
  Json options = plate_options(0.0);
  for (const char* engine : {"classic", "growth"}) {
    options["grain_engine"] = engine;
    options["_format_long_um"] = 96 * 10.0;
    const Image screen = on_screen(even, film, options, 10.0);
    const auto [least, most] = std::minmax_element(screen.data.begin(), screen.data.end());
    EXPECT_GT(*most, 1.1f * *least) << engine;
    EXPECT_NEAR(0.0, correlation(screen, 0, 1), 0.1) << engine;
    EXPECT_NEAR(0.0, correlation(screen, 1, 2), 0.1) << engine;
  }
}

TEST(Registration, IsTheSameInMillimetresAtEverySize) {
  const Json tricolor = {{"registration", {{"warp_mm", 0.1}}}};
  const auto plan = [&](int w, int h, double px_um, const Json& options) {
    Rng rng = seeded_rng(options, kFilmStream);
    return registration_plan(tricolor, options, w, h, px_um, rng);
  };
  const Json options = {{"seed", 5}};
  const auto small = plan(600, 400, 60.0, options), large = plan(2400, 1600, 15.0, options);
  for (int p = 0; p < 3; ++p) {
    EXPECT_NEAR(4.0 * small[p].shift_px[0], large[p].shift_px[0], 1e-9);
    EXPECT_EQ(small[p].turn, large[p].turn);
    EXPECT_EQ(small[p].columns, large[p].columns);
    EXPECT_NEAR(4.0f * small[p].creep_y[1], large[p].creep_y[1], 1e-4);
  }
  EXPECT_NE(small[0].shift_px, small[1].shift_px);
  const auto twice = plan(600, 400, 60.0, {{"seed", 5}, {"plate_shift", 2.0}});
  EXPECT_NEAR(2.0 * small[1].shift_px[1], twice[1].shift_px[1], 1e-9);
}

// A plate that is a slope of light shows where each pixel came from.
TEST(Registration, AWarpMovesTheSlopeAndNoEdgeShows) {
  Image across(60, 90, 1), down(60, 90, 1);
  for (int i = 0; i < 60 * 90; ++i)
    across.data[i] = static_cast<float>(i % 90), down.data[i] = static_cast<float>(i / 90);
  PlateWarp warp;
  warp.shift_px = {1.25, -0.5};
  warp.turn = {0.9, 0.1};
  warp.columns = 2;
  warp.creep_x = {0.0f, 0.75f, 0.0f, 0.0f, 0.75f, 0.0f};
  warp.creep_y.assign(6, 0.0f);
  Image screen(60, 90, 3);
  project_plate(across, warp, screen, 0);
  project_plate(down, warp, screen, 1);
  const double x = 30 - 44.5, y = 20 - 29.5;
  const double t = (30.5 / 45.0), creep = 0.75 * t * t * (3.0 - 2.0 * t);
  EXPECT_NEAR(44.5 + 0.9 * x - 0.1 * y + 1.25 + creep, screen.at(20, 30, 0), 1e-3);
  EXPECT_NEAR(29.5 + 0.1 * x + 0.9 * y - 0.5, screen.at(20, 30, 1), 1e-3);
  warp.shift_px = {1e6, -1e6};
  project_plate(across, warp, screen, 2);
  EXPECT_EQ(89.0f, screen.at(7, 11, 2));
}

TEST(Tricolor, NoNumberInAFileBreaksIt) {
  const Image scene = grey_scene(9, 13);
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(), -1e30, -1.0, 0.0})
    for (const char* path :
         {"/registration/shift_mm", "/registration/rotate_deg", "/registration/scale",
          "/registration/warp_mm", "/registration/warp_cell_mm", "/registration/margin",
          "/ev_jitter", "/plate_ev/g", "/positive/gamma", "/positive/dmax", "/filters/r/0",
          "/vignette", "/soften", "/cast/1", "/projection/4"}) {
      Json film = plates_film();
      film["tricolor"]["cast"] = {1, 1, 1};
      film["tricolor"]["projection"] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
      film["tricolor"][Json::json_pointer(path)] = bad;
      EXPECT_TRUE(is_light(on_screen(scene, film, plate_options(bad)))) << path << bad;
    }
}

}  // namespace
}  // namespace morva
