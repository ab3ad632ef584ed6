// The emulsion as an optical body, what its layers see, the chemistry between them, the look. How
// development joins them is held against the GPU's own road.

#include "film/couplers.h"
#include "film/emulsion.h"
#include "film/exposure_mix.h"
#include "film/glass_ring.h"
#include "film/halation.h"
#include "film/look.h"
#include "image/on_every_isa.h"
#include "input/failure_of.h"

namespace morva {
namespace {

using testing_files::failure_of;

constexpr double kPi = 3.141592653589793;

Image point(int side, float light, int channels = 1) {
  Image image(side, side, channels);
  for (int k = 0; k < channels; ++k) image.at(side / 2, side / 2, k) = light;
  return image;
}

double sum_of(const Image& image) {
  return mean_of(image) * static_cast<double>(image.data.size());
}

TEST(EmulsionBlur, HalvesTheContrastAtItsFrequency) {
  const Json film = Json::parse(R"({"mtf": {"f50_cyc_mm": 40}})");
  const double px_um = 2.5;  // a wave of 25 um is 10 pixels
  Image wave(1, 400, 1);
  for (int x = 0; x < wave.w; ++x)
    wave.at(0, x) = static_cast<float>(1.0 + 0.5 * std::sin(2.0 * kPi * x / 10.0));
  Image blurred = emulsion_blur(wave, film, px_um);
  const auto [low, high] = std::minmax_element(&blurred.at(0, 100), &blurred.at(0, 300));
  // The samples miss the crests by half a step: both waves peak at sin(72 degrees).
  EXPECT_NEAR(0.5, (*high - *low) / (2.0 * 0.5 * std::sin(0.4 * kPi)), 0.02);
  // Finer than a pixel it passes.
  const Image image = point(9, 1.0f, 3);
  for (const Json& f50 : {Json(), Json(-3), Json(40)})
    EXPECT_EQ(image.data, emulsion_blur(image, {{"mtf", {{"f50_cyc_mm", f50}}}}, 30.0).data);
}

TEST(Halation, AddsColouredLightAroundHighlightsOnly) {
  const Json record = Json::parse(R"({"strength": 0.1, "radius_um": 20, "threshold": 0.8})");
  const HalationParams params = halation_params(record, 5.0, 1.0);
  Image image = point(61, 10.8f, 3);
  halate(image, extract_channel(image, 1), params, 5.0);
  EXPECT_NEAR(0.1 * 10.0 * (1.0 + 0.3 + 0.08), sum_of(image) - 3 * 10.8, 1e-3);
  EXPECT_GT(image.at(30, 36, 0), image.at(30, 36, 1));
  EXPECT_GT(image.at(30, 36, 1), image.at(30, 36, 2));
  EXPECT_FALSE(halation_params(record, 5.0, 0.0).active);
  // A light without end or number has no halo.
  const Image dark(61, 61, 3);
  for (const float spoilt : {INFINITY, -INFINITY, NAN}) {
    image = dark;
    halate(image, point(61, spoilt), params, 5.0);
    EXPECT_EQ(dark.data, image.data);
  }
}

TEST(GlassRing, ReflectsByFresnel) {
  EXPECT_NEAR(std::pow(0.52 / 2.52, 2), glass_reflectance(0.0, 1.52), 1e-12);
  const double critical = std::asin(1.0 / 1.52);
  EXPECT_EQ(1.0, glass_reflectance(critical + 1e-6, 1.52));
  EXPECT_LT(glass_reflectance(critical - 0.05, 1.52), 0.4);
  // At Brewster's angle one polarisation vanishes.
  const double brewster = std::atan(1.0 / 1.52);
  const double across = (1.52 * 1.52 - 1.0) / (1.52 * 1.52 + 1.0);
  EXPECT_NEAR(0.5 * across * across, glass_reflectance(brewster, 1.52), 1e-12);
}

// Blocks keep the ring where it is: at a finer pitch it is as wide in millimetres.
TEST(GlassRing, IsBrightestWhereTotalReflectionBegins) {
  const double glass_mm = 1.5;  // the ring's radius is 2 t tan(41.1 degrees)
  const double radius_um = 2.0 * glass_mm * std::tan(std::asin(1.0 / 1.52)) * 1000.0;
  for (const auto& [side, px_um, from] : {std::tuple{161, 60.0, 3}, {641, 15.0, 12}}) {
    Image ring = glass_ring(point(side, 1.0f), px_um, glass_mm, 1.52);
    const float* centre = &ring.at(side / 2, side / 2);
    const float* brightest = std::max_element(centre + from, centre + side / 2 - 2);
    EXPECT_NEAR(radius_um / px_um, static_cast<double>(brightest - centre), 120.0 / px_um);
  }
  // Blocks larger than the picture, and glass thicker than any number of pixels.
  EXPECT_LT(glass_ring(Image(2, 3, 1, 1.0f), 1.0, 1.5, 1.52).data[5], 1e-6f);
  EXPECT_EQ(0.0f, glass_ring(Image(2, 3, 1, 1.0f), 6.0, 1e306, 1.52).data[0]);
}

// All that the far face reflects lands somewhere on the emulsion.
TEST(GlassRing, ReturnsTheReflectedShareOfTheLight) {
  double reflected = 0.0;
  const double steepest = std::atan(4.0);
  for (int i = 0; i < 4000; ++i) {
    const double theta = (i + 0.5) * steepest / 4000;
    reflected +=
        glass_reflectance(theta, 1.52) * 2.0 * std::sin(theta) * std::cos(theta) * steepest / 4000;
  }
  EXPECT_NEAR(reflected, sum_of(glass_ring(point(461, 1.0f), 60.0, 1.5, 1.52)), 0.02 * reflected);
  Image lit = point(461, 3.0f);
  const Json record = {{"strength", 0.5}, {"radius_um", 60}, {"threshold", 1}, {"glass_mm", 1.5}};
  halate(lit, point(461, 3.0f), halation_params(record, 60.0, 1.0), 60.0);
  EXPECT_NEAR(3.0 + 0.5 * 2.0 * (1.0 + reflected), sum_of(lit), 0.03);
}

TEST(Adjacency, GrowsRimsUpToItsBound) {
  Image edge(5, 200, 1, 0.2f);
  for (int y = 0; y < 5; ++y) std::fill_n(&edge.at(y, 100), 100, 2.6f);
  const Json film = Json::parse(R"({"adjacency": {"k": 0.2, "um": 50, "sat": 0.4}})");
  const Image out = adjacency(edge, film, 10.0);
  EXPECT_NEAR(2.6 + 0.08, out.at(2, 100), 0.002);
  EXPECT_NEAR(0.2 - 0.08, out.at(2, 99), 0.002);
  EXPECT_NEAR(2.6, out.at(2, 180), 1e-4);
  // The developer's two kinds of exhaustion add; what spreads less than a pixel is dropped.
  const Json both =
      Json::parse(R"({"_adjacency": 0.2, "_adjacency_um": 1, "adjacency": {"k": 0.1}})");
  ASSERT_EQ(2u, adjacency_terms(both, 50.0).size());
  EXPECT_EQ(0.8, adjacency_terms(both, 50.0)[0].sigma_px);
  EXPECT_EQ(0u, adjacency_terms(film, 51.0).size());
  const Json linear = Json::parse(R"({"adjacency": {"k": 0.2, "um": 50, "sat": 5}})");
  EXPECT_NEAR(2.8209, adjacency(edge, linear, 10.0).at(2, 100), 0.001);
}

Image pixel(float r, float g, float b) {
  Image image(1, 1, 3);
  image.data = {r, g, b};
  return image;
}

TEST(ExposureMix, TungstenFilmGoesBlueByDaylightAndKeepsItsLuminance) {
  const Json film = Json::parse(R"({"balance": {"illuminant_K": 3200}})");
  const auto [r, g, b] = film_balance_gains(film, 5500.0).value();
  EXPECT_TRUE(r < 1.0f && b > 1.5f);
  EXPECT_NEAR(1.0, 0.2126 * r + 0.7152 * g + 0.0722 * b, 1e-6);
  EXPECT_FALSE(film_balance_gains(film, 3200.9));
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
  const Json film = {{"couplers", {{"matrix", {1.3, -0.2, -0.1, 0, 1.1, 0, 0, 0, 1.2}}}}};
  apply_couplers(density, coupler_matrix(film, on), 9.0);
  EXPECT_NEAR(0.4 + 1.3 * 0.5 - 0.2 * -0.1 - 0.1 * -0.4, density.data[0], 1e-6);
  EXPECT_NEAR(0.4 + 1.1 * -0.1, density.data[1], 1e-6);
  const Json ds = {{"couplers", {{"matrix", nullptr}, {"matrix_ds", {1, 2, 3}}}}};
  EXPECT_FALSE(coupler_matrix(ds, Json::object()));
  EXPECT_EQ("couplers.matrix: ждали 3×3", failure_of([&] { coupler_matrix(ds, on); }));
}

// Its arithmetic is held against the GPU's.
TEST(Look, FadesDyesAndRefusesWhatIsNoLook) {
  const auto looked = [](const Json& look) {
    Image image = pixel(0.25f, 0.5f, 0.5f);
    apply_look(image, look);
    return image.data;
  };
  const std::vector<float> faded = looked({{"dye_fade", {0.5, 1.0, -1}}});
  EXPECT_NEAR(0.5, faded[0], 1e-6);
  EXPECT_NEAR(std::pow(0.5, 0.05), faded[1], 1e-6);
  EXPECT_EQ(0.5f, faded[2]);
  EXPECT_NEAR(0.2126 * 0.25 + (1.0 - 0.2126) * 0.5, looked({{"saturation", -1}})[0], 1e-6);
  EXPECT_EQ("shadow_tint: ждали массив из 3", failure_of([&] {
              looked({{"shadow_tint", {1, 2}}});
            }));
  EXPECT_ANY_THROW(looked({{"dye_fade", 0.3}}));
}

}  // namespace
}  // namespace morva
