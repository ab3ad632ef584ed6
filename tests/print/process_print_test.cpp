// Prints made by hand: the ink's scale, what each stage does to it, the coat, the colour and the
// relief, and blocks that are not what they should be.

#include "print/process_print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "image/errors.h"
#include "image/random.h"
#include "print/coat.h"
#include "print/pictures.h"
#include "print/print_relief.h"
#include "print/process_block.h"
#include "print/process_texture.h"
#include "print/smooth_field.h"

namespace morva {
namespace {

const Json kFilm = Json::parse(R"({"type": "bw", "grain": {"amount": 0},
    "negative": {"dmin": 0.2, "dmax": 2.4, "gamma": 0.65}})");

Json paper_with(const char* process) {
  Json paper = {{"dmin", 0.05}, {"dmax", 1.55}, {"gamma", 1.6}, {"toe", 1.2}};
  paper["process"] = Json::parse(process);
  return paper;
}

Image printed(const Json& paper, const Json& options, float light, const Image* mask = nullptr,
              int w = 24, int h = 16) {
  RenderContext ctx;
  return print_process(Image(h, w, 3, light), kFilm, paper, options, 6.0, nullptr, mask, ctx);
}

// The sigma of the Gaussian that made a field, along its rows: neighbours at the distance d
// correlate as exp(-d^2 / 4 sigma^2).
double sigma_of(const Image& field, int distance) {
  double square = 0.0;
  for (int y = 0; y < field.h; ++y)
    for (int x = 0; x + distance < field.w; ++x) {
      const double step = static_cast<double>(field.at(y, x + distance) - field.at(y, x));
      square += step * step;
    }
  const double variance = spread(field) * spread(field);
  const double unlike = square / (2.0 * variance * field.h * (field.w - distance));
  return distance / std::sqrt(-4.0 * std::log(1.0 - unlike));
}

TEST(ProcessPrint, InkRunsFromThePapersWhiteToItsBlack) {
  const Json paper = paper_with(R"({"pigment": {"density": [1.5, 1.5, 1.5]}})");
  Image density(1, 3, 1);
  density.data = {9.0f, 0.0f, -9.0f};
  const Image ink = ink_of_negative(density, paper, Json::object());
  EXPECT_NEAR(0.0, ink.data[0], 1e-3);
  EXPECT_NEAR(0.744727 / 1.5, ink.data[1], 1e-5);  // a mid grey, on a scale of 1.5
  EXPECT_NEAR(1.0, ink.data[2], 1e-3);
  // So a stain as deep as that scale prints a mid grey as one.
  EXPECT_NEAR(0.18 * 0.875, printed(paper, Json::object(), 0.18f).at(3, 3, 1), 1e-3);
  const Image gate(16, 24, 1, 0.0f);
  EXPECT_FLOAT_EQ(0.8909f, printed(paper, Json::object(), 0.01f, &gate).at(3, 3, 0));
}

TEST(ProcessPrint, FieldsHaveUnitDeviationAndTheSizeAsked) {
  for (const double sigma : {0.1, 1.0, 2.4, 2.6, 9.0, 1e9}) {
    Rng rng = rng_from_key({7});
    const Image field = smooth_field(rng, 320, 240, sigma);
    EXPECT_NEAR(1.0, spread(field), 1e-4) << sigma;
    if (sigma < 1.0 || sigma > 10.0) continue;
    EXPECT_NEAR(sigma, sigma_of(field, static_cast<int>(sigma)), 0.08 * sigma);
  }
  Rng rng = rng_from_key({7});
  EXPECT_EQ(0.0f, smooth_field(rng, 1, 1, 5.0).data[0]);
  for (const char* kind : {"raster", "fibre", "wood", ""}) {
    Json paper = paper_with(R"({"texture": {"amount": 0.3, "cell_um": 400}})");
    paper["process"]["texture"]["kind"] = kind;
    const ProcessBlock block = read_process_block(paper, Json::object());
    for (const int w : {1, 2, 61})
      EXPECT_NEAR(1.0, spread(texture_field(rng, w, 23, block.texture, 10.0)), 1e-3) << kind << w;
  }
}

TEST(ProcessPrint, LengthsOnThePrintAreThoseOfTheirBlocks) {
  constexpr double px_per_mm = 20.0;
  Rng rng = rng_from_key({11});
  TextureBlock texture;
  texture.fine_um = 100.0, texture.wide_um = 600.0, texture.wide_amp = 0.0;
  EXPECT_NEAR(2.0, sigma_of(texture_field(rng, 480, 360, texture, px_per_mm), 2), 0.1);
  texture.wide_amp = 1e4;
  EXPECT_NEAR(12.0, sigma_of(texture_field(rng, 480, 360, texture, px_per_mm), 8), 1.5);
  RollerBlock roller;  // the harder it presses, the further it drags
  roller.brush_mm = 0.5, roller.fine_amp = 0.0;
  for (const auto& [strength, sigma_mm] : {std::pair{0.5, 0.45}, {1.0, 0.65}}) {
    roller.ink.strength = strength;
    const double sigma = sigma_of(roller_field(rng, 480, 360, roller, px_per_mm), 7);
    EXPECT_NEAR(sigma_mm * px_per_mm, sigma, 0.1 * sigma_mm * px_per_mm);
  }
}

TEST(ProcessPrint, TheGateFadesInkAndUnevennessAlike) {
  const Json even = paper_with(R"({"plug": 0.5, "pigment": {"mode": "ink"}})");
  Json uneven = even;
  uneven["process"]["texture"] = {{"amount", 8}, {"specks", 1}};
  uneven["process"]["ink_roller"] = {{"roller", 2}};
  Image gate(16, 24, 1, 0.25f);
  for (int y = 0; y < 16; ++y) std::fill_n(&gate.at(y, 0), 6, 0.0f);
  const Image smooth = printed(even, Json::object(), 0.1f, &gate);
  const Image rough = printed(uneven, Json::object(), 0.1f, &gate);
  int lighter = 0, darker = 0;
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 6; ++x) EXPECT_EQ(smooth.at(0, 0, 0), rough.at(y, x, 0));
    for (int x = 6; x < 12; ++x) {
      lighter += rough.at(y, x) > smooth.at(y, x);
      darker += rough.at(y, x) < smooth.at(y, x);
    }
  }
  EXPECT_FLOAT_EQ(0.8909f, smooth.at(0, 0, 0));
  EXPECT_GT(lighter, 20);  // where the gate fades, too, there is more ink here and less there
  EXPECT_GT(darker, 20);
  const Image other(4, 4, 1, 1.0f);
  EXPECT_THROW(printed(even, Json::object(), 0.1f, &other), std::logic_error);
}

TEST(ProcessPrint, TheProbeOfBlackMeetsFullInk) {
  const Json plain = paper_with(R"({"pigment": {"mode": "ink"}})");
  Json uneven = plain;
  uneven["process"].update(Json::parse(R"({"texture": {"amount": 3}, "ink_roller": {"roller": 1},
      "coat": {"style": "brush", "margin": 0.3}})"));
  const Json probe = {{"_black_probe", true}};
  const Image full = printed(plain, Json::object(), 0.0f, nullptr, 8, 8);
  EXPECT_EQ(full.data, printed(uneven, probe, 0.0f, nullptr, 8, 8).data);
  EXPECT_NE(full.data, printed(uneven, Json::object(), 0.0f, nullptr, 8, 8).data);
}

TEST(ProcessPrint, TheCoatEndsRaggedInsideTheSheet) {
  const int w = 300;
  CoatBlock coat;
  coat.style = CoatStyle::brush;
  const auto coated = [&] {
    Image ink(200, w, 1, 0.8f);
    Rng rng = rng_from_key({3});
    brush_coat(ink, coat, rng);
    return ink;
  };
  const Image ink = coated();
  EXPECT_NEAR(0.8, ink.at(100, 150), 0.08);
  int nearest = w, farthest = 0;
  for (int y = 60; y < 140; ++y) {
    EXPECT_EQ(0.0f, ink.at(y, 0));
    int x = 0;
    while (x < w && ink.at(y, x) < 0.2f) ++x;
    nearest = std::min(nearest, x), farthest = std::max(farthest, x);
  }
  EXPECT_GT(farthest - nearest, 2);  // ragged
  EXPECT_NEAR(0.045 * w, 0.5 * (nearest + farthest), 10.0);
  coat.rough = 0.0;
  const Image straight = coated();
  for (int y = 60; y < 140; ++y) EXPECT_NEAR(straight.at(60, 16), straight.at(y, 16), 1e-6);
}

TEST(ProcessPrint, ReliefIsLitFromTheUpperLeft) {
  Image ink(40, 40, 1), strong(40, 40, 3, 0.4f), glossy = strong;
  for (int y = 10; y < 30; ++y) std::fill_n(&ink.at(y, 10), 20, 0.9f);
  ReliefBlock relief;
  relief.amount = 0.5, relief.sheen = 0.0;
  light_relief(strong, ink, relief, 10.0);
  EXPECT_GT(strong.at(20, 10), 0.45f);  // climbs towards the light
  EXPECT_LT(strong.at(20, 29), 0.35f);
  EXPECT_EQ(0.4f, strong.at(20, 20));
  relief.amount = 0.0, relief.sheen = 0.03;
  light_relief(glossy, ink, relief, 10.0);
  EXPECT_NEAR(0.43, glossy.at(20, 20, 1), 0.004);
  EXPECT_EQ(0.4f, glossy.at(2, 2, 1));
}

TEST(ProcessPrint, OptionsOverrideOrScaleAndNullLeavesTheBlock) {
  const Json paper = paper_with(R"({"base": "buff", "texture": {"amount": 0.4},
    "ink_roller": {"roller": 0.3}, "coat": {"style": "brush", "rough": 2.0}})");
  const auto read = [&](const char* options) {
    return read_process_block(paper, Json::parse(options));
  };
  const ProcessBlock own = read(R"({"ink_roller": null, "coat": null, "coat_rough": null,
    "paper_base": null})");
  EXPECT_EQ(0.3, own.roller.ink.strength);
  EXPECT_EQ(2.0, own.coat.rough);
  const ProcessBlock set = read(R"({"print_texture": 0.5, "ink_roller": 0, "coat": "none",
    "coat_rough": 0.5, "paper_base": "cream"})");
  EXPECT_EQ(0.2, set.texture.ink.strength);
  EXPECT_EQ(0.0, set.roller.ink.strength);
  EXPECT_EQ(1.0, set.coat.rough);
  EXPECT_GT(set.paper[1], own.paper[1]);
  // A whole block takes nothing of the paper's own.
  EXPECT_EQ(1.0, read(R"({"coat": {"style": "rod", "margin": 0.1}})").coat.rough);
  EXPECT_THROW(read(R"({"paper_base": [0.5, 0.25]})"), OptionsError);
}

TEST(ProcessPrint, NoBlockLeavesThePrintWithoutNumbers) {
  for (const char* process :
       {R"("gum")", R"({"texture": 3, "coat": [1], "relief": "x", "pigment": true})",
        R"({"ink_floor": 1e30, "plug": -5})",
        R"({"texture": {"amount": 1e30, "fine_um": 1e30, "wide_um": -1, "raster": 1e30}})",
        R"({"texture": {"kind": "raster", "amount": 1, "cell_um": 1e-30}})",
        R"({"ink_roller": {"roller": 1e30, "brush_mm": 1e30, "fine_mm": -1e30}})",
        R"({"transfer": {"pickup": -1e30, "soften_mm": 1e30}})",
        R"({"coat": {"style": "rod", "margin": 1e30, "band": -1e30, "rough": 1e30}})",
        R"({"pigment": {"density": [1e30, -1e30, 0], "mode": "stain"}})",
        R"({"pigment": {"mode": "ink", "opacity": 1e30, "rgb": [1, 2]}})",
        R"({"relief": {"amount": 1e30, "sheen": 1e30, "smooth_mm": 1e30, "slope_floor": -1}})"})
    for (const double print_px_um : {100.0, 1e30, 0.0})
      EXPECT_TRUE(is_light(printed(paper_with(process), {{"print_px_um", print_px_um}}, 0.2f)))
          << process << " " << print_px_um;
  EXPECT_THROW(printed(paper_with(R"({"texture": {"amount": [1]}})"), Json::object(), 0.2f),
               OptionsError);
}

}  // namespace
}  // namespace morva
