// Exposure and development: what the layers see, the chemistry between them, the look.

#include <gtest/gtest.h>

#include <cmath>

#include "film/couplers.h"
#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "film/exposure.h"
#include "film/exposure_mix.h"
#include "film/look.h"
#include "input/failure_of.h"

namespace morva {
namespace {

using testing_files::failure_of;

// Films here have no grain, so that tone alone shows.
Json color_film() {
  return Json::parse(R"({"type": "color", "grain": {"amount": 0}, "layers": {
    "r": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6},
    "g": {"dmin": 0.5, "dmax": 2.8, "gamma": 0.62},
    "b": {"dmin": 0.8, "dmax": 3.2, "gamma": 0.65}}})");
}

Json silver_film() {
  return Json::parse(R"({"type": "bw", "grain": {"amount": 0},
                         "negative": {"dmin": 0.1, "dmax": 2.2, "gamma": 0.6}})");
}

Image pixel(float r, float g, float b) {
  Image image(1, 1, 3);
  image.data = {r, g, b};
  return image;
}

TEST(Exposure, BlackStopsAtItsFloor) {
  const float in[] = {0.18f, 0.36f, 0.0f, -5.0f};
  const double wanted[] = {0.0, std::log10(2.0), -6.0, -6.0};
  float out[4];
  log_exposure(in, out, 4, 0.0);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(wanted[i], out[i], 1e-6);
}

TEST(ExposureMix, TungstenFilmGoesBlueByDaylightAndKeepsItsLuminance) {
  const Json film = Json::parse(R"({"balance": {"illuminant_K": 3200}})");
  const auto gains = film_balance_gains(film, 5500.0);
  ASSERT_TRUE(gains);
  EXPECT_TRUE((*gains)[0] < 1.0f && (*gains)[2] > 1.5f);
  EXPECT_NEAR(1.0, 0.2126 * (*gains)[0] + 0.7152 * (*gains)[1] + 0.0722 * (*gains)[2], 1e-6);
  EXPECT_FALSE(film_balance_gains(film, 3200.9));
}

TEST(ExposureMix, FalseColourRotatesTheLayersAndLightsFoliage) {
  const Json film = Json::parse(R"({"ir_proxy": {"weights": [1, 2, 1], "chlorophyll": 2.0}})");
  Image leaf = pixel(0.1f, 0.5f, 0.2f);
  apply_exposure_mix(leaf, film, Json::object());
  EXPECT_GT(leaf.data[0], 0.8f);
  EXPECT_EQ(0.1f, leaf.data[1]);
  EXPECT_EQ(0.5f, leaf.data[2]);
}

TEST(ExposureMix, LayerMatricesAreNormalisedByRow) {
  const Json film = Json::parse(R"({"sensitization": [[8, 2, 0], [0, 1, 0], [0, 0, 5]],
                                    "sensitization_ds": [1, 0, 0, 0, 1, 0, 0, 1, 1]})");
  Image usual = pixel(1.0f, 0.5f, 0.0f), interlayer = usual;
  apply_exposure_mix(usual, film, Json::object());
  apply_exposure_mix(interlayer, film, {{"interlayer", true}});
  EXPECT_NEAR(0.9, usual.data[0], 1e-6);
  EXPECT_NEAR(0.25, interlayer.data[2], 1e-6);
  EXPECT_EQ("m: ждали матрицу 3×3",
            failure_of([] { sensitization_matrix(Json::parse(R"({"m": [1, 2]})"), "m"); }));
}

TEST(Couplers, MoveColourAndLeaveTheMean) {
  Image density = pixel(0.9f, 0.3f, 0.0f);
  const Json on = {{"interlayer", true}};
  const Json film =
      Json::parse(R"({"couplers": {"matrix": [1.3, -0.2, -0.1, 0, 1.1, 0, 0, 0, 1.2]}})");
  apply_couplers(density, coupler_matrix(film, on), 9.0);
  EXPECT_NEAR(0.4 + 1.3 * 0.5 - 0.2 * -0.1 - 0.1 * -0.4, density.data[0], 1e-6);
  EXPECT_NEAR(0.4 + 1.1 * -0.1, density.data[1], 1e-6);
  const Json ds = Json::parse(R"({"couplers": {"matrix": null, "matrix_ds": [1,2,3]}})");
  EXPECT_FALSE(coupler_matrix(ds, Json::object()));
  EXPECT_EQ("couplers.matrix: ждали 3×3", failure_of([&] { coupler_matrix(ds, on); }));
}

// A blue lamp: its luminance halates, its red does not.
TEST(Develop, LightSpreadsAndEdgesGrowInTheNegative) {
  Image scene(41, 41, 3, 0.02f);
  scene.at(20, 20, 2) = 60.0f;
  const auto negative = [&](Json film, const char* key, const Json& value,
                            const Json& options = Json::object()) {
    RenderContext ctx;
    film[key] = value;
    return film["type"] == "bw" ? develop_bw(scene, film, options, 6.0, nullptr, ctx).density
                                : develop_color(scene, film, options, 6.0, nullptr, ctx).density;
  };
  const Json halo = {{"strength", 0.2}, {"radius_um", 24}};
  for (const Json& film : {color_film(), silver_film()}) {
    const Image plain = negative(film, "note", "");
    const int seen = plain.c - 1;
    EXPECT_GT(negative(film, "halation", halo).at(20, 24), plain.at(20, 24) + 0.01f);
    EXPECT_EQ(plain.data, negative(film, "halation", halo, {{"halation_mult", 0}}).data);
    EXPECT_GT(negative(film, "mtf", {{"f50_cyc_mm", 15}}).at(20, 22, seen),
              plain.at(20, 22, seen) + 0.01f);
    EXPECT_LT(negative(film, "adjacency", {{"k", 0.3}, {"um", 24}}).at(20, 22, seen),
              plain.at(20, 22, seen) - 0.001f);
  }
}

TEST(DevelopColor, LayerExposureAndRetainedSilver) {
  Json film = color_film();
  const auto densities = [&film] {
    RenderContext ctx;
    return develop_color(pixel(0.36f, 0.18f, 0.09f), film, {}, 6.0, nullptr, ctx).density.data;
  };
  const std::vector<float> plain = densities();
  film["_retained_silver"] = 0.4;
  const double silver = 0.4 / 3.0 * (plain[0] + plain[1] + plain[2]);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(plain[k] + silver, densities()[k], 1e-5);
  film["_retained_silver"] = 0.0;
  film["_layer_ev"] = {-1.0, 0.0, 1.0};
  for (const float d : densities()) EXPECT_NEAR(0.0, d, 2e-6);
}

TEST(Look, FadesTintsSaturatesAndMutes) {
  const auto looked = [](float r, float g, float b, const char* look) {
    Image image = pixel(r, g, b);
    apply_look(image, Json::parse(look));
    return image.data;
  };
  const std::vector<float> faded = looked(0.25f, 0.5f, 0.5f, R"({"dye_fade": [0.5, 1.0, -1]})");
  EXPECT_NEAR(0.5, faded[0], 1e-6);
  EXPECT_NEAR(std::pow(0.5, 0.05), faded[1], 1e-6);
  EXPECT_EQ(0.5f, faded[2]);
  const char* tints = R"({"shadow_tint": [0.4, 0, 0], "highlight_tint": [0, 0, 0.8]})";
  const std::vector<float> dark = looked(0.04f, 0.04f, 0.04f, tints);
  EXPECT_GT(dark[0] - 0.04f, 4.0f * (dark[2] - 0.04f));
  EXPECT_GT(looked(0.8f, 0.8f, 0.8f, tints)[2], 1.1f);
  const std::vector<float> grey = looked(0.3f, 0.6f, 0.1f, R"({"saturation": -1})");
  EXPECT_NEAR(0.2126 * 0.3 + 0.7152 * 0.6 + 0.0722 * 0.1, grey[0], 1e-6);
  EXPECT_NEAR(0.4, looked(0.2f, 0.6f, 0.2f, R"({"green_mute": 0.5})")[1], 1e-6);
  EXPECT_EQ("shadow_tint: ждали массив из 3",
            failure_of([&] { looked(0, 0, 0, R"({"shadow_tint": [1, 2]})"); }));
  EXPECT_ANY_THROW(looked(0, 0, 0, R"({"dye_fade": 0.3})"));
}

}  // namespace
}  // namespace morva
