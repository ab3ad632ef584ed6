// Paper: a mid grey, the grade, the veil, the soft ends, tone and the colour negative on grey
// paper.

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "image/errors.h"
#include "print/bw_print.h"
#include "print/color_print.h"
#include "print/paper.h"

namespace morva {
namespace {

const Json kPaper = Json::parse(R"({"dmin": 0.07, "dmax": 2.2, "gamma": 1.8, "toe": 1.3})");

float reflectance(const HdCurve& curve, float density, double print_ev = 0.0) {
  float out;
  paper_response(curve, &density, &out, 1, print_ev, 0.0);
  return out;
}

TEST(Paper, MidGreyPrintsAsMidGreyAtEveryGrade) {
  for (const double grade : {0.0, 1.0, 2.0, 3.5, 5.0})
    for (const double soft : {0.0, 1.0})
      EXPECT_NEAR(0.18, reflectance(paper_curve(kPaper, grade, soft, soft), 0.0f), 2e-6) << grade;
}

TEST(Paper, AGradeIsAFifthOfTheSlope) {
  Json fixed = kPaper;
  fixed["fixed_grade"] = true;
  for (const auto& [paper, grade, slope] :
       {std::tuple{kPaper, 2.0, 1.8}, {kPaper, 3.0, 1.8 * 1.2}, {fixed, 5.0, 1.8}}) {
    const HdCurve curve = paper_curve(paper, grade, 0.0, 0.0);
    EXPECT_NEAR(slope, (curve.density(1e-4) - curve.density(-1e-4)) / 2e-4, 1e-4);
  }
}

TEST(Paper, WhiteIsThePapersWhiteAndEndsSoften) {
  const HdCurve plain = paper_curve(kPaper, 2.0, 0.0, 0.0),
                soft = paper_curve(kPaper, 2.0, 1.0, 1.0);
  EXPECT_NEAR(1.0, reflectance(plain, 9.0f), 1e-3);
  EXPECT_NEAR(std::pow(10.0, -2.13), reflectance(plain, -9.0f), 1e-4);
  EXPECT_LT(reflectance(soft, 9.0f), 0.6f);
  EXPECT_GT(reflectance(soft, -9.0f), 0.02f);
  // A stop more light on the sheet is a stop less density in the negative.
  EXPECT_NEAR(reflectance(plain, -static_cast<float>(kLog10Stop)), reflectance(plain, 0.0f, 1.0),
              1e-6);
}

TEST(Paper, FlareVeilsTheBlacksFromTheWholeSheet) {
  const HdCurve curve = paper_curve(kPaper, 2.0, 0.0, 0.0);
  const std::vector<float> density = {-1.0f, 1.5f, 1.5f, 1.5f};
  std::vector<float> veiled(4);
  paper_response(curve, density.data(), veiled.data(), 4, 0.0, 0.05);
  const double mean = (10.0 + 3.0 * std::pow(10.0, -1.5)) / 4.0;
  const double expected = std::log10(0.05 * mean + std::pow(10.0, -1.5));
  EXPECT_NEAR(curve.density(expected), -std::log10(veiled[1]) + curve.dmin, 1e-5);
  EXPECT_LT(veiled[1], reflectance(curve, 1.5f));
}

TEST(Print, ToneColoursAndThreeEqualChannelsWithout) {
  RenderContext ctx;
  Negative negative;
  negative.density = Image(1, 1, 1, 0.3f);
  Json paper = kPaper;
  const Image grey = print_bw(print_params_bw(paper, Json::object()), negative, ctx);
  paper["tone"] = {1.0, 0.5, 4.0};
  const Image toned = print_bw(print_params_bw(paper, Json::object()), negative, ctx);
  const float v = grey.data[0];
  EXPECT_EQ((std::vector<float>{v, v, v}), grey.data);
  EXPECT_EQ((std::vector<float>{v, v * 0.5f, std::min(1.0f, v * 4.0f)}), toned.data);
}

TEST(Print, GreyPaperSeesBlueAndGreenOfAColourNegative) {
  const Json film = Json::parse(R"({"type": "color", "look": {"shadow_tint": [1, 0, 0]},
    "grain": {"amount": 0}, "layers": {
    "r": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6}, "g": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6},
    "b": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6}}})");
  RenderContext ctx;
  const auto grey_of = [&](float r, float g, float b, const Json& paper) {
    Image scene(1, 1, 3);
    scene.data = {r, g, b};
    return print_color_on_bw(scene, film, paper, Json::object(), 6.0, nullptr, ctx).data;
  };
  const std::vector<float> mid = grey_of(0.18f, 0.18f, 0.18f, kPaper);
  EXPECT_NEAR(0.18, mid[0], 1e-5);
  EXPECT_EQ(mid[0], mid[2]);
  const float red = grey_of(0.8f, 0.1f, 0.1f, kPaper)[0];
  const float blue = grey_of(0.1f, 0.1f, 0.8f, kPaper)[0];
  EXPECT_LT(red, 0.5f * blue);
  Json paper = kPaper;
  paper["spectral_weights"] = {1, 0};
  EXPECT_EQ(red, grey_of(0.8f, 0.1f, 0.1f, paper)[0]);  // not three: the usual ones
  paper["spectral_weights"] = {1, 0, 0};
  EXPECT_GT(grey_of(0.8f, 0.1f, 0.1f, paper)[0], blue);
}

TEST(Print, ColourHasItsLookFirstThenThePapersTone) {
  ColorNegative negative;
  negative.density = Image(1, 2, 3);
  negative.density.data = {9.0f, -9.0f, 0.0f, 0.5f, 0.1f, -0.2f};
  const auto printed = [&](const Json& paper) {
    RenderContext ctx;
    const Json film = {{"look", {{"saturation", 3.0}}}};
    return print_color(print_params_color(film, paper, Json::object()), negative, ctx).data;
  };
  Json toned = kPaper;
  toned["tone"] = {1.0, 0.5, 0.25};
  EXPECT_EQ(printed(kPaper)[5] * 0.25f, printed(toned)[5]);
  for (const float v : printed(kPaper)) EXPECT_TRUE(v >= 0.0f && v <= 1.0f);
}

}  // namespace
}  // namespace morva
