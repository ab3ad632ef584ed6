// Instant positives: a mid grey, the base of the sheet, its dyes, and the marks of its making:
// their strengths, the mean they leave alone, and their place on the sheet whatever the raster.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "image/resample.h"
#include "print/dot_screen.h"
#include "print/instant_positive.h"
#include "print/instant_texture.h"
#include "print/peel_texture.h"
#include "print/pictures.h"

namespace morva {
namespace {

Json pack() {
  return Json::parse(R"({"type": "instant", "layers": {
    "r": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5}, "g": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5},
    "b": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5}}})");
}

Image developed(const Json& film, const Image& light, const Json& options = Json::object()) {
  RenderContext ctx;
  return film.contains("spectral_weights") ? develop_instant_mono(light, film, options, 25.0, ctx)
                                           : develop_instant(light, film, options, 25.0, ctx);
}

TEST(InstantPositive, MidGreyStaysAndLightBrightens) {
  for (const bool mono : {false, true}) {
    Json film = pack();
    if (mono) film["spectral_weights"] = {0.2, 0.5, 0.3};
    EXPECT_NEAR(0.18, developed(film, pixel(0.18f, 0.18f, 0.18f)).data[1], 1e-4);
    EXPECT_NEAR(developed(film, pixel(0.09f, 0.09f, 0.09f)).data[1],
                developed(film, pixel(0.18f, 0.18f, 0.18f), {{"ev", -1.0}}).data[1], 1e-4);
    EXPECT_NEAR(std::pow(10.0, -1.7), developed(film, pixel(0, 0, 0)).data[0], 1e-4);
  }
}

TEST(InstantPositive, WhiteIsTheBaseOfTheSheetAsItWasWhenFresh) {
  Json film = pack();
  const auto white_density = [&](int k) {
    return -std::log10(developed(film, pixel(1e6f, 1e6f, 1e6f)).data[k]);
  };
  film["layers"]["b"]["dmin"] = 0.16;
  EXPECT_NEAR(0.0, white_density(0), 4e-4);
  EXPECT_NEAR(0.06, white_density(2), 4e-4);
  film["layers"]["r"]["dmin"] = 0.3;  // yellowed and fogged since
  film["_dmin_ref"] = {{"r", 0.1}, {"g", 0.05}, {"b", 0.16}};
  const double wanted[] = {0.25, 0.05, 0.11};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(wanted[k], white_density(k), 4e-4);
  film["spectral_weights"] = {1, 1, 1};
  film["_dmin_ref"]["g"] = 0.02;
  EXPECT_NEAR(0.08, white_density(1), 4e-4);
}

TEST(InstantPositive, SaturationMixesAboveTheBaseAndCrosstalkIsNineNumbers) {
  Json film = pack();
  film["layers"]["b"]["dmin"] = 0.16;
  film["couplers"]["saturation"] = -1.0;
  const Image grey = developed(film, pixel(0.6f, 0.15f, 0.05f));
  EXPECT_NEAR(std::pow(10.0, -0.06), grey.data[2] / grey.data[0], 1e-5);
  film["dyes"]["crosstalk"] = {1, 0, 0};
  EXPECT_ANY_THROW(developed(film, pixel(1, 1, 1)));
}

TEST(InstantPositive, ToneAndItsPatches) {
  Json film = pack();
  film["spectral_weights"] = {1, 1, 1};
  film["image_tone"] = {1.0, 0.9, 0.8};
  const Image toned = developed(film, Image(48, 48, 3, 0.3f));
  EXPECT_NEAR(0.8, toned.data[2] / toned.data[0], 1e-5);
  film["tone_mottle"] = {{"amp", 0.1}};
  const Image patched = developed(film, Image(48, 48, 3, 0.3f));
  float most = 0.0f;
  for (std::size_t i = 0; i < patched.data.size(); i += 3) {
    const float warmth = patched.data[i] / toned.data[i];
    most = std::max(most, warmth);
    ASSERT_TRUE(warmth >= 1.0f && warmth <= 1.1f + 1e-6f);
    ASSERT_LE(patched.data[i + 2], toned.data[i + 2]);
  }
  EXPECT_GT(most, 1.02);
  film["tone_mottle"]["amp"] = 1e30;
  EXPECT_TRUE(is_light(developed(film, Image(7, 7, 3, 0.3f), {{"grain_mult", 1e30}})));
}

// Laid on an even density of one.
Image textured(const Json& texture, int h, int w) {
  Rng rng = rng_from_key({1, 2, 3});
  const Json film = {{"texture", texture}};
  return add_instant_texture(Image(h, w, 1, 1.0f), instant_texture(film, 1.0, h, w), rng);
}

TEST(InstantTexture, StrengthsAreThoseOfTheFilm) {
  const auto deviation = [](const Json& texture) { return spread(textured(texture, 300, 300)); };
  const Json mottle = {{"mottle_amp", 0.02}, {"mottle_scale", 0.02}};
  EXPECT_NEAR(0.02 * std::hypot(0.75, 0.45), deviation(mottle), 0.003);
  for (const Json& alone : {Json{{"fine_amp", 0.01}}, Json{{"streaks_amp", 0.01}},
                            Json{{"silk_amp", 0.01}, {"card_um", 6000}}})
    EXPECT_NEAR(0.01, deviation(alone), 1e-5) << alone;
  EXPECT_EQ(0.0, deviation({{"silk_amp", 0.01}}));  // finer than a pixel
}

TEST(InstantTexture, StreaksOfATallPictureRunDownItAndLeaveItsMean) {
  for (const int w : {100, 10, 1}) {
    const Image tall = textured({{"streaks_amp", 0.006}}, 3000, w);
    EXPECT_NEAR(1.0, mean(tall), 0.001) << w;
    for (const float v : tall.data) ASSERT_NEAR(1.0, v, 0.05) << w;
    EXPECT_EQ(tall.at(0, w / 2), tall.at(2999, w / 2));
  }
}

const Json kPeel = Json::parse(R"({"texture": {
  "chatter": {"amp": 0.02, "paste_amp": 0.05, "iso_share": 0.2, "coarse_share": 0.2,
              "cluster_mm": 9, "cluster_mod": 0.4, "end_gain": 1},
  "dot_screen": {"amp": 0.01}}, "_peel_size": "3x4", "_peel_seed": [1, 1, 0, 29]})");

TEST(PeelTexture, BandsRunAcrossThePull) {
  Json film = kPeel;
  film["texture"] = {{"chatter", {{"amp", 0.02}}}};
  const auto roughness = [&](int h, int w, int dy, int dx) {
    const Image d = add_peel_texture(Image(h, w, 3, 1.0f), film, Json::object(), 250.0, 1.0);
    double sum = 0.0;
    for (int y = 0; y + dy < h; ++y)
      for (int x = 0; x + dx < w; ++x) sum += std::fabs(d.at(y + dy, x + dx) - d.at(y, x));
    return sum;
  };
  EXPECT_GT(roughness(380, 292, 1, 0), 2.0 * roughness(380, 292, 0, 1));
  EXPECT_GT(roughness(292, 380, 0, 1), 2.0 * roughness(292, 380, 1, 0));
}

// 237.5 mm are no whole number of any round step, and a raster's rounding must not decide.
TEST(PeelTexture, TheLargestSheetHasOnePatternAtEveryRaster) {
  const Json film = Json::parse(R"({"frame": {"sizes": ["8x10"]}, "_peel_size": "8x10",
    "_peel_seed": [1, 1, 0, 29], "texture": {"chatter": {"amp": 0.02, "along_mm": 12,
    "across_mm": 30, "iso_share": 0.2, "iso_mm": 14, "coarse_share": 0.2, "coarse_along_mm": 20,
    "coarse_across_mm": 40, "cluster_mod": 0.3, "cluster_mm": 25}}})");
  const auto bands = [&](int h, int w) {
    return add_peel_texture(Image(h, w, 1, 1.0f), film, Json::object(), 237500.0 / h, 1.0);
  };
  const Image coarse = bands(200, 160);
  for (const auto& [h, w] : {std::pair(203, 162), {51, 41}, {640, 512}}) {
    const Image same_size = pil_resize(bands(h, w), 160, 200, kResizeTriangle);
    EXPECT_GT(correlation(coarse, same_size), 0.97) << h;
  }
}

// Strength of the wave of a period of `period_mm` along one axis, the other summed.
double line_strength(const Image& d, double mm_per_px, double period_mm, bool down) {
  double re = 0.0, im = 0.0;
  for (int y = 0; y < d.h; ++y)
    for (int x = 0; x < d.w; ++x) {
      const double phase = 2.0 * std::numbers::pi * (down ? y : x) * mm_per_px / period_mm;
      re += d.at(y, x) * std::cos(phase);
      im += d.at(y, x) * std::sin(phase);
    }
  return std::hypot(re, im) / static_cast<double>(d.pixels());
}

TEST(DotScreen, RowsAcrossThePullAndTheDotsPitchAlongThem) {
  Json film = {{"texture", {{"dot_screen", {{"amp", 0.04}, {"grain", 0}, {"jitter_mm", 0}}}}}};
  const auto screen = [&](double mm_per_px) {
    Image d(288, 216, 1, 0.0f);
    Rng rng = rng_from_key({6});
    add_dot_screen(d, pulled_sheet(d, 1000.0 * mm_per_px, nullptr), dot_screen(film, 1.0), rng);
    return d;
  };
  // Every other row is half a pitch aside: summed over all, the dots' second harmonic remains.
  const Image d = screen(0.05);
  for (const double off : {0.8, 1.25})
    for (const auto& [period_mm, down] : {std::pair(0.72, true), {0.18, false}})
      EXPECT_GT(line_strength(d, 0.05, period_mm, down),
                5.0 * line_strength(d, 0.05, period_mm * off, down));

  // At four pixels a row and two a dot the rows are whole and the dots gone.
  film["texture"]["dot_screen"]["mod"] = 0;
  const Image coarse = screen(0.18);
  EXPECT_EQ(coarse.at(5, 3), coarse.at(5, 100));
  EXPECT_GT(line_strength(coarse, 0.18, 0.72, true), 0.005);
  EXPECT_EQ(Image(288, 216, 1, 0.0f).data, screen(0.5).data);
}

TEST(InstantPositive, EveryNumberOfAProfileIsSurvived) {
  for (const double wild : {0.0, -1.0, 1e30, 1e-30, std::numeric_limits<double>::quiet_NaN()})
    for (const int side : {1, 7}) {
      Json film = pack();
      film.update(kPeel);
      film["soften_frac"] = wild;
      film["texture"]["mottle_amp"] = film["texture"]["fine_amp"] = 0.02;
      for (const char* key :
           {"mottle_scale", "streaks_amp", "silk_amp", "silk_scale_um", "card_um", "silk_lattice"})
        film["texture"][key] = wild;
      for (const char* block : {"chatter", "dot_screen"})
        for (const char* key :
             {"along_mm", "across_mm", "iso_mm", "iso_share", "cluster_mm", "d_gain", "end_mm",
              "end_gain", "paste_mm", "card_var", "pitch_mm", "row_mm", "jitter_mm",
              "jitter_sigma_mm", "mod", "grain_mm", "coarse_share"})
          film["texture"][block][key] = wild;
      EXPECT_TRUE(is_light(developed(film, Image(side, side, 3, 0.2f)))) << wild;
    }
}

}  // namespace
}  // namespace morva
