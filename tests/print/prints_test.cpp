// Prints by light: paper under a negative, the slide, its print on direct-positive paper, and the
// scanner.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "image/errors.h"
#include "image/filters.h"
#include "print/bw_print.h"
#include "print/paper.h"
#include "print/pictures.h"
#include "print/reversal_print.h"
#include "print/scan.h"
#include "print/slide.h"

namespace morva {
namespace {

const Json kNoOptions = Json::object();
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
  const HdCurve plain = paper_curve(kPaper, 2.0, 0.0, 0.0);
  const HdCurve soft = paper_curve(kPaper, 2.0, 1.0, 1.0);
  EXPECT_NEAR(1.0, reflectance(plain, 9.0f), 1e-3);
  EXPECT_NEAR(std::pow(10.0, -2.13), reflectance(plain, -9.0f), 1e-4);
  EXPECT_LT(reflectance(soft, 9.0f), 0.6f);
  EXPECT_GT(reflectance(soft, -9.0f), 0.02f);
  // A stop more light on the sheet is a stop less density in the negative.
  EXPECT_NEAR(reflectance(plain, -static_cast<float>(kLog10Stop)), reflectance(plain, 0.0f, 1.0),
              1e-6);
}

TEST(Print, GreyPaperSeesBlueAndGreenOfAColourNegative) {
  const Json film = Json::parse(R"({"type": "color", "look": {"shadow_tint": [1, 0, 0]},
    "grain": {"amount": 0}, "layers": {
    "r": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6}, "g": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6},
    "b": {"dmin": 0.2, "dmax": 2.5, "gamma": 0.6}}})");
  RenderContext ctx;
  const auto grey_of = [&](float r, float g, float b, const Json& paper) {
    const Image scene = pixel(r, g, b);
    return print_color_on_bw(scene, film, paper, kNoOptions, 6.0, nullptr, ctx).data;
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

Json slide_film() {
  return Json::parse(R"({"type": "slide", "grain": {"amount": 0}, "layers": {
    "r": {"dmin": 0.15, "dmax": 3.3, "gamma": 1.5}, "g": {"dmin": 0.18, "dmax": 3.3, "gamma": 1.5},
    "b": {"dmin": 0.22, "dmax": 3.3, "gamma": 1.5}}})");
}

std::vector<float> slide_of(const Json& film, const Image& scene,
                            const Json& options = kNoOptions) {
  RenderContext ctx;
  return develop_slide(scene, film, options, 6.0, nullptr, ctx).data;
}

TEST(Slide, LightTakesDensityAwayAndTheBaseKeepsItsColour) {
  const std::vector<float> clear = slide_of(slide_film(), pixel(1e6f, 1e6f, 1e6f));
  EXPECT_NEAR(1.0, clear[0], 1e-3);
  EXPECT_NEAR(std::pow(10.0, -0.03), clear[1], 1e-3);
  EXPECT_NEAR(std::pow(10.0, -0.07), clear[2], 1e-3);
  for (const float v : slide_of(slide_film(), pixel(0.0f, 0.0f, 0.0f)))
    EXPECT_NEAR(std::pow(10.0, -3.15), v, 2e-5);
}

TEST(Slide, ColourComesFromSaturationOrTheInterlayerButNotFromTheCouplers) {
  const auto chroma = [](const Json& couplers, bool interlayer = false) {
    Json film = slide_film();
    film["couplers"] = couplers;
    const auto v = slide_of(film, pixel(0.3f, 0.18f, 0.1f), {{"interlayer", interlayer}});
    return std::log10(v[0] / v[2]);
  };
  const Json matrix = {2, -0.5, -0.5, 0, 2, -1, -1, 0, 2};
  const float plain = chroma(Json::object());
  EXPECT_EQ(plain, chroma({{"matrix", matrix}}, true));
  EXPECT_GT(chroma({{"saturation", 0.3}}), 1.2f * plain);
  const Json both = {{"saturation", -0.3}, {"matrix_ds", matrix}};
  EXPECT_LT(chroma(both), 0.8f * plain);
  EXPECT_GT(chroma(both, true), 2.0f * plain);
  EXPECT_THROW(chroma({{"matrix_ds", {1, 2}}}, true), ProfileError);
}

TEST(ReversalPrint, MidGreyStaysAndExposureDarkens) {
  const auto printed = [](const Json& options) {
    const Json paper = {{"dmin", 0.07}, {"dmax", 2.4}, {"gamma", 1.1}};
    Image slide = pixel(0.18f, 0.18f, 0.18f);
    print_transmission(slide, reversal_print_params(paper, options));
    return slide.data[0];
  };
  for (const double grade : {0.0, 2.0, 4.0})
    EXPECT_NEAR(0.18, printed({{"grade", grade}, {"print_black", 1.0}}), 1e-5) << grade;
  EXPECT_LT(printed({{"print_ev", 1.0}}), 0.1f);
}

std::vector<float> scanned(const Image& positive, const Json& paper,
                           const Json& options = kNoOptions) {
  return scan_positive(positive, paper, options).data;
}

Json scanner(const Json& scan) {
  return {{"kind", "scan"}, {"scan", scan}};
}

TEST(Scan, PassesAPositiveAsItIsAtGradeTwo) {
  const Image positive = pixel(0.9f, 0.18f, 0.003f);
  EXPECT_EQ(positive.data, scanned(positive, {{"kind", "scan"}}));
  EXPECT_EQ(positive.data, scan_finish(positive, {{"kind", "scan"}}).data);
  EXPECT_NEAR(std::pow(0.18, 1.2), scanned(positive, Json(), {{"grade", 3.0}})[1], 1e-6);
  EXPECT_EQ(positive.data, scanned(positive, {{"fixed_grade", true}}, {{"grade", 3.0}}));
  const Json darker = {{"print_ev", 1.0}};
  EXPECT_FLOAT_EQ(0.09f, scanned(positive, Json(), darker)[1]);
  EXPECT_EQ(positive.data, scanned(positive, {{"fixed_exposure", true}}, darker));
  const Json soft = {{"print_black", 1.0}, {"print_white", 1.0}};
  EXPECT_NEAR(0.18, scanned(positive, Json(), soft)[1], 1e-5);
}

TEST(ScanFinish, BlurGoesByThePicturesHeightAndNoFinerThanPixelsHold) {
  for (const auto& [h, mtf, sigma_px] :
       {std::tuple{500, 2.0, 2.0 * 0.0016 * 500}, {40, 1.0, 0.4}}) {
    Image step(h, 60, 3, 0.2f);
    for (int y = 0; y < h; ++y) std::fill_n(&step.at(y, 30), 90, 0.6f);
    EXPECT_EQ(blur_image(step, sigma_px).data, scan_finish(step, scanner({{"mtf", mtf}})).data);
  }
}

TEST(Positives, NoNumberInAFileBreaksThem) {
  const Image scene = pixel(0.3f, 0.18f, 0.0f);
  RenderContext ctx;
  for (const double bad :
       {std::nan(""), std::numeric_limits<double>::infinity(), -1e30, -1.0, 0.0}) {
    const Json options = {
        {"grade", bad}, {"print_ev", bad}, {"print_black", bad}, {"print_white", bad}};
    EXPECT_TRUE(is_light(scan_positive(scene, Json(), options))) << bad;
    for (const char* key : {"mtf", "long_px", "sharpen", "sharpen_frac", "highlight_clip", "flare",
                            "positive_dmax", "positive_gamma"}) {
      Json paper = scanner({{"sharpen", 0.5}});
      paper["scan"][key] = bad;
      EXPECT_TRUE(is_light(scan_positive(scene, paper, {{"grade", bad}}))) << key << bad;
      EXPECT_TRUE(is_light(scan_finish(Image(9, 7, 3, 0.7f), paper))) << key << bad;
    }
    EXPECT_EQ(1.0f, scanned(pixel(1.0f, 0.18f, 0.0f), Json(), {{"grade", bad}})[0]) << bad;
    for (const char* key : {"dmin", "dmax", "gamma", "toe", "mid_density", "dye_purity"}) {
      Json film = slide_film();
      film["layers"]["g"][key] = bad;
      const Json paper = {{key, bad}};
      EXPECT_TRUE(is_light(print_reversal(scene, film, paper, options, 6.0, nullptr, ctx)))
          << key << bad;
    }
  }
}

}  // namespace
}  // namespace morva
