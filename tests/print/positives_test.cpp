// Positives: the slide, its print on direct-positive paper, and the scanner.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "image/errors.h"
#include "image/filters.h"
#include "print/reversal_print.h"
#include "print/scan.h"
#include "print/slide.h"

namespace morva {
namespace {

const Json kNoOptions = Json::object();

Json slide_film() {
  return Json::parse(R"({"type": "slide", "grain": {"amount": 0}, "layers": {
    "r": {"dmin": 0.15, "dmax": 3.3, "gamma": 1.5}, "g": {"dmin": 0.18, "dmax": 3.3, "gamma": 1.5},
    "b": {"dmin": 0.22, "dmax": 3.3, "gamma": 1.5}}})");
}

Image pixel(float r, float g, float b) {
  Image image(1, 1, 3);
  image.data = {r, g, b};
  return image;
}

std::vector<float> slide_of(const Json& film, const Image& scene, const Json& options = kNoOptions,
                            const Image* uneven = nullptr) {
  RenderContext ctx;
  return develop_slide(scene, film, options, 6.0, uneven, ctx).data;
}

std::vector<float> scanned(const Image& positive, const Json& paper,
                           const Json& options = kNoOptions) {
  return scan_positive(positive, paper, options).data;
}

Json scanner(const Json& scan) {
  return {{"kind", "scan"}, {"scan", scan}};
}

bool within_the_sheet(const Image& image) {
  return std::all_of(image.data.begin(), image.data.end(),
                     [](float v) { return v >= 0.0f && v <= 1.0f; });
}

TEST(Slide, LightTakesDensityAwayAndTheBaseKeepsItsColour) {
  const Json film = slide_film();
  const std::vector<float> clear = slide_of(film, pixel(1e6f, 1e6f, 1e6f));
  EXPECT_NEAR(1.0, clear[0], 1e-3);
  EXPECT_NEAR(std::pow(10.0, -0.03), clear[1], 1e-3);
  EXPECT_NEAR(std::pow(10.0, -0.07), clear[2], 1e-3);
  for (const float v : slide_of(film, pixel(0.0f, 0.0f, 0.0f)))
    EXPECT_NEAR(std::pow(10.0, -3.15), v, 2e-5);
}

TEST(Slide, ColourComesFromSaturationOrTheInterlayerButNotFromTheCouplers) {
  const Image scene = pixel(0.3f, 0.18f, 0.1f);
  const auto chroma = [&](const Json& couplers, bool interlayer = false) {
    Json film = slide_film();
    film["couplers"] = couplers;
    const std::vector<float> v = slide_of(film, scene, {{"interlayer", interlayer}});
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

TEST(Slide, MoreDevelopmentIsMoreLight) {
  const Image more(1, 1, 1, 0.2f), scene = pixel(0.18f, 0.18f, 0.18f);
  const std::vector<float> even = slide_of(slide_film(), scene);
  const std::vector<float> uneven = slide_of(slide_film(), scene, kNoOptions, &more);
  EXPECT_NEAR(-0.2 * std::log10(0.18), std::log10(uneven[0] / even[0]), 1e-4);
  EXPECT_GT(uneven[2] / even[2], uneven[0] / even[0]);
}

TEST(ReversalPrint, MidGreyStaysAndExposureDarkens) {
  const auto printed = [](Image slide, const Json& options, double purity = 0.0) {
    const Json paper = {{"dmin", 0.07}, {"dmax", 2.4}, {"gamma", 1.1}, {"dye_purity", purity}};
    print_transmission(slide, reversal_print_params(paper, options));
    return slide.data;
  };
  const Image grey = pixel(0.18f, 0.18f, 0.18f);
  for (const double grade : {0.0, 2.0, 4.0})
    EXPECT_NEAR(0.18, printed(grey, {{"grade", grade}, {"print_black", 1.0}})[0], 1e-5) << grade;
  EXPECT_LT(printed(grey, {{"print_ev", 1.0}})[0], 0.1f);
  const Image red = pixel(0.3f, 0.15f, 0.15f);
  const std::vector<float> plain = printed(red, kNoOptions), pure = printed(red, kNoOptions, 0.5);
  EXPECT_NEAR(1.5, std::log10(pure[0] / pure[1]) / std::log10(plain[0] / plain[1]), 1e-3);
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
}

TEST(Scan, DmaxFallsToBlackWhiteStaysAndHueIsKept) {
  const Json paper = scanner({{"positive_dmax", 2.0}});
  EXPECT_EQ(0.0f, scanned(pixel(0.01f, 0.01f, 0.01f), paper)[0]);
  EXPECT_NEAR(1.0, scanned(pixel(1.0f, 1.0f, 1.0f), paper)[0], 1e-6);
  const std::vector<float> v = scanned(pixel(0.08f, 0.04f, 0.02f), paper);
  EXPECT_NEAR(2.0, v[0] / v[1], 1e-4);
  EXPECT_LT(v[0], 0.08f);
  EXPECT_NEAR(0.05 / 1.05, scanned(pixel(0.0f, 0.0f, 0.0f), scanner({{"flare", 0.05}}))[0], 1e-6);
}

TEST(Scan, SoftEndsLeaveMidGrey) {
  const Json soft = {{"print_black", 1.0}, {"print_white", 1.0}};
  const std::vector<float> v = scanned(pixel(1.0f, 0.18f, 0.0f), Json(), soft);
  EXPECT_LT(v[0], 0.6f);
  EXPECT_NEAR(0.18, v[1], 1e-5);
  EXPECT_GT(v[2], 0.003f);
}

Image edge_in_the_middle(int h, int w) {
  Image step(h, w, 3, 0.2f);
  for (int y = 0; y < h; ++y)
    for (int x = w / 2; x < w; ++x)
      for (int k = 0; k < 3; ++k) step.at(y, x, k) = 0.6f;
  return step;
}

TEST(ScanFinish, SizeAndHighlights) {
  const Image step = edge_in_the_middle(40, 61);
  const Image small = scan_finish(step, scanner({{"long_px", 30.9}}));
  EXPECT_EQ(std::pair(30, 20), std::pair(small.w, small.h));
  for (const float v : scan_finish(step, scanner({{"highlight_clip", 1.0}})).data)
    EXPECT_TRUE(std::fabs(v - 0.05f) < 1e-6f || std::fabs(v - 0.15f) < 1e-6f);
  EXPECT_FLOAT_EQ(0.525f, scan_finish(step, scanner({{"highlight_clip", 0.5}})).at(0, 50));
}

TEST(ScanFinish, BlurAndSharpnessGoByThePicturesHeight) {
  const Image step = edge_in_the_middle(500, 60);
  EXPECT_EQ(blur_image(step, 2.0 * 0.0016 * 500).data,
            scan_finish(step, scanner({{"mtf", 2.0}})).data);
  const Image sharp = scan_finish(step, scanner({{"sharpen", 0.4}, {"sharpen_frac", 0.004}}));
  const Image soft = blur_image(step, 0.004 * 500);
  ASSERT_NEAR(0.6 + (0.6 - soft.at(9, 31)) * 1.5 * 0.4, sharp.at(9, 31), 1e-6);
  // No finer than pixels can hold.
  const Image fine = edge_in_the_middle(40, 61);
  EXPECT_EQ(blur_image(fine, 0.4).data, scan_finish(fine, scanner({{"mtf", 1.0}})).data);
}

TEST(Positives, NoNumberInAFileBreaksThem) {
  const double inf = std::numeric_limits<double>::infinity();
  const Image scene = pixel(0.3f, 0.18f, 0.0f);
  RenderContext ctx;
  for (const double bad : {std::nan(""), inf, -1e30, -1.0, 0.0}) {
    const Json options = {
        {"grade", bad}, {"print_ev", bad}, {"print_black", bad}, {"print_white", bad}};
    EXPECT_TRUE(within_the_sheet(scan_positive(scene, Json(), options))) << bad;
    for (const char* key : {"mtf", "long_px", "sharpen", "sharpen_frac", "highlight_clip", "flare",
                            "positive_dmax", "positive_gamma"}) {
      Json paper = scanner({{"sharpen", 0.5}});
      paper["scan"][key] = bad;
      EXPECT_TRUE(within_the_sheet(scan_positive(scene, paper, {{"grade", bad}}))) << key << bad;
      EXPECT_TRUE(within_the_sheet(scan_finish(Image(9, 7, 3, 0.7f), paper))) << key << bad;
    }
    EXPECT_EQ(1.0f, scanned(pixel(1.0f, 0.18f, 0.0f), Json(), {{"grade", bad}})[0]) << bad;
    for (const char* key : {"dmin", "dmax", "gamma", "toe", "mid_density", "dye_purity"}) {
      Json film = slide_film();
      film["layers"]["g"][key] = bad;
      const Json paper = {{key, bad}};
      EXPECT_TRUE(within_the_sheet(print_reversal(scene, film, paper, options, 6.0, nullptr, ctx)))
          << key << bad;
    }
  }
}

}  // namespace
}  // namespace morva
