// Exposure and development: what the layers see, the chemistry between them, the look.

#include <gtest/gtest.h>

#include <cmath>

#include "film/couplers.h"
#include "film/develop_bw.h"
#include "film/develop_color.h"
#include "film/exposure.h"
#include "film/exposure_mix.h"
#include "film/look.h"
#include "gpu/backend.h"
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
  float out[4];
  log_exposure(in, out, 4, 0.0);
  EXPECT_NEAR(0.0, out[0], 1e-6);
  EXPECT_NEAR(std::log10(2.0), out[1], 1e-6);
  EXPECT_NEAR(-6.0, out[2], 1e-6);
  EXPECT_EQ(out[2], out[3]);
}

TEST(ExposureMix, TungstenFilmGoesBlueByDaylightAndKeepsItsLuminance) {
  const Json film = Json::parse(R"({"balance": {"illuminant_K": 3200}})");
  const auto gains = film_balance_gains(film, 5500.0);
  ASSERT_TRUE(gains);
  EXPECT_LT((*gains)[0], 1.0f);
  EXPECT_GT((*gains)[2], 1.5f);
  EXPECT_NEAR(1.0, 0.2126 * (*gains)[0] + 0.7152 * (*gains)[1] + 0.0722 * (*gains)[2], 1e-6);
  EXPECT_FALSE(film_balance_gains(film, 3200.9));
  EXPECT_EQ(3200.0, scene_temperature_k(film, {{"wb_mode", "custom"}}));
  EXPECT_EQ(5500.0, scene_temperature_k(film, {{"wb_mode", "film"}}));
}

TEST(ExposureMix, FalseColourRotatesTheLayersAndLightsFoliage) {
  const Json film = Json::parse(R"({"ir_proxy": {"weights": [1, 2, 1], "chlorophyll": 2.0}})");
  Image leaf = pixel(0.1f, 0.5f, 0.2f);
  apply_exposure_mix(leaf, film, Json::object());
  EXPECT_NEAR(2.0 * 0.3 + 0.5 * 0.5 + 0.25 * 0.1 + 0.25 * 0.2, leaf.data[0], 1e-6);
  EXPECT_EQ(0.1f, leaf.data[1]);
  EXPECT_EQ(0.5f, leaf.data[2]);
}

TEST(ExposureMix, LayerMatricesAreNormalisedByRow) {
  const Json film = Json::parse(R"({"sensitization": [[8, 2, 0], [0, 1, 0], [0, 0, 5]],
                                    "sensitization_ds": [1, 0, 0, 0, 1, 0, 0, 1, 1]})");
  Image light = pixel(1.0f, 0.5f, 0.0f);
  apply_exposure_mix(light, film, Json::object());
  EXPECT_NEAR(0.9, light.data[0], 1e-6);
  EXPECT_NEAR(0.0, light.data[2], 1e-6);
  light = pixel(1.0f, 0.5f, 0.0f);
  apply_exposure_mix(light, film, {{"interlayer", true}});
  EXPECT_NEAR(0.25, light.data[2], 1e-6);
  EXPECT_EQ("m: ждали матрицу 3×3",
            failure_of([] { sensitization_matrix(Json::parse(R"({"m": [1, 2]})"), "m"); }));
}

TEST(Couplers, MoveColourAndLeaveTheMean) {
  Image density = pixel(0.9f, 0.3f, 0.0f);
  const Json film =
      Json::parse(R"({"couplers": {"matrix": [1.3, -0.2, -0.1, 0, 1.1, 0, 0, 0, 1.2]}})");
  apply_couplers(density, coupler_matrix(film, Json::parse(R"({"interlayer": true})")), 9.0);
  EXPECT_NEAR(0.4 + 1.3 * 0.5 - 0.2 * -0.1 - 0.1 * -0.4, density.data[0], 1e-6);
  EXPECT_NEAR(0.4 + 1.1 * -0.1, density.data[1], 1e-6);

  const Json ds = Json::parse(R"({"couplers": {"matrix": null, "matrix_ds": [1,2,3]}})");
  EXPECT_FALSE(coupler_matrix(ds, Json::object()));
  EXPECT_EQ("couplers.matrix: ждали 3×3",
            failure_of([&] { coupler_matrix(ds, Json::parse(R"({"interlayer": true})")); }));
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
  RenderContext ctx;
  const auto densities = [&](const Image& scene) {
    return develop_color(scene, film, Json::object(), 6.0, nullptr, ctx).density.data;
  };
  const std::vector<float> plain = densities(pixel(0.36f, 0.18f, 0.09f));
  film["_layer_ev"] = {-1.0, 0.0, 1.0};
  for (const float d : densities(pixel(0.36f, 0.18f, 0.09f))) EXPECT_NEAR(0.0, d, 2e-6);
  film.erase("_layer_ev");
  film["_retained_silver"] = 0.4;
  const std::vector<float> silver = densities(pixel(0.36f, 0.18f, 0.09f));
  const float mean = (plain[0] + plain[1] + plain[2]) / 3.0f;
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(plain[k] + 0.4f * mean, silver[k], 1e-5);
}

// The hook's results stand in for the stage's own loops.
struct FakePointwise : gpu::PointwiseGpu {
  Image negative_color(const Image& light, const DevelopParams& params) override {
    return develop_dyes(light, params);
  }
  Image negative_bw(const Image& light, const DevelopBwParams&) override {
    return Image(light.h, light.w, 1, 1.5f);
  }
  Image print_color(const Image& density, const PrintParams&) override { return density; }
  Image print_bw(const Image& density, const PrintParams&) override { return density; }
  Image srgb_encode(const Image& linear) override { return linear; }
  std::string description() const override { return "fake"; }
};

TEST(Pointwise, TakesOverThePixelLoops) {
  FakePointwise pointwise;
  RenderContext plain, hooked;
  hooked.pointwise = &pointwise;
  const Image scene = pixel(0.4f, 0.2f, 0.1f);
  EXPECT_EQ(develop_color(scene, color_film(), Json::object(), 6.0, nullptr, plain).density.data,
            develop_color(scene, color_film(), Json::object(), 6.0, nullptr, hooked).density.data);
  EXPECT_TRUE(hooked.pointwise_used);
  Json film = silver_film();
  film["negative"]["mid_density"] = 0.5;  // under the hook's 1.5 less the base
  EXPECT_NEAR(1.5 - 0.1 - 0.5,
              develop_bw(scene, film, Json::object(), 6.0, nullptr, hooked).density.data[0], 1e-6);
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
  // The root is 0.2: the shadow tint weighs 0.64, the highlight tint 0.04.
  const std::vector<float> tinted =
      looked(0.04f, 0.04f, 0.04f, R"({"shadow_tint": [0.4, 0, 0], "highlight_tint": [0, 0, 0.8]})");
  EXPECT_NEAR(0.04 * (1.0 + 0.64 * 0.4), tinted[0], 1e-6);
  EXPECT_NEAR(0.04 * (1.0 + 0.04 * 0.8), tinted[2], 1e-6);
  const std::vector<float> grey = looked(0.3f, 0.6f, 0.1f, R"({"saturation": -1})");
  EXPECT_NEAR(0.2126 * 0.3 + 0.7152 * 0.6 + 0.0722 * 0.1, grey[0], 1e-6);
  const std::vector<float> muted = looked(0.2f, 0.6f, 0.2f, R"({"green_mute": 0.5})");
  EXPECT_NEAR(0.4, muted[1], 1e-6);
  EXPECT_NEAR(0.2 + 0.2 * 0.55, muted[0], 1e-6);
  EXPECT_EQ("shadow_tint: ждали массив из 3",
            failure_of([&] { looked(0, 0, 0, R"({"shadow_tint": [1, 2]})"); }));
  EXPECT_ANY_THROW(looked(0, 0, 0, R"({"dye_fade": 0.3})"));
}

}  // namespace
}  // namespace morva
