// A plate on a dark backing: silver is light, glass is dark.

#include <gtest/gtest.h>

#include <cmath>

#include "film/develop_bw.h"
#include "plates/plate_view.h"

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
  const Image view = plate_view(densities({1.6f}), tinted, paper, Json::object(), 0.1);
  const double wanted[] = {0.4, 0.8, 0.2};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(wanted[k], view.data[k], 1e-6);
  tinted["_silver_tint"] = {0.5, 1.0};  // not a colour
  const Json darker = {{"print_ev", 1.0}};
  EXPECT_NEAR(0.4, plate_view(densities({1.6f}), tinted, paper, darker, 0.1).data[0], 1e-6);
}

TEST(PlateView, WildNumbersLeaveAPicture) {
  for (const char* text : {R"({"plate_view": {"scatter": -1e30}})", R"({"plate_view": 7})",
                           R"({"plate_view": {"scatter": 1e30, "base": [0, 0, 0]}})"})
    for (const double ev : {-1e30, 1e30})
      for (const float v : plate_view(densities({0.0f, 1.0f, 1e30f}), film(), Json::parse(text),
                                      {{"print_ev", ev}}, 2.0)
                               .data)
        EXPECT_TRUE(v >= 0.0f && v <= 1.0f) << text;
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
  const float light[] = {0.0f, 0.05f, 0.18f, 0.9f, 20.0f};
  for (int x = 0; x < 5; ++x)
    for (int k = 0; k < 3; ++k) scene.at(0, x, k) = light[x];
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

}  // namespace
}  // namespace morva
