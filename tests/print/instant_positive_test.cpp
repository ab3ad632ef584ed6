// Instant positives: a mid grey, the base of the sheet, its dyes, the marks of its making.

#include "print/instant_positive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "image/pairwise_sum.h"
#include "print/instant_texture.h"
#include "print/peel_texture.h"
#include "print/tone_mottle.h"

namespace morva {
namespace {

Json pack() {
  return Json::parse(R"({"type": "instant", "layers": {
    "r": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5}, "g": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5},
    "b": {"dmin": 0.1, "dmax": 1.8, "gamma": 1.5}}})");
}

Image scene(float r, float g, float b) {
  Image image(1, 1, 3);
  image.data = {r, g, b};
  return image;
}

Image developed(const Json& film, const Image& light, const Json& options = Json::object()) {
  RenderContext ctx;
  return film.contains("spectral_weights") ? develop_instant_mono(light, film, options, 25.0, ctx)
                                           : develop_instant(light, film, options, 25.0, ctx);
}

void expect_light(const Image& image) {
  for (const float v : image.data) ASSERT_TRUE(v >= 0.0f && v <= 1.0f) << v;
}

TEST(InstantPositive, MidGreyStaysAndLightBrightens) {
  for (const bool mono : {false, true}) {
    Json film = pack();
    if (mono) film["spectral_weights"] = {0.2, 0.5, 0.3};
    EXPECT_NEAR(0.18, developed(film, scene(0.18f, 0.18f, 0.18f)).data[1], 1e-4);
    EXPECT_NEAR(developed(film, scene(0.09f, 0.09f, 0.09f)).data[1],
                developed(film, scene(0.18f, 0.18f, 0.18f), {{"ev", -1.0}}).data[1], 1e-4);
    EXPECT_NEAR(std::pow(10.0, -1.7), developed(film, scene(0, 0, 0)).data[0], 1e-4);
  }
}

TEST(InstantPositive, WhiteIsTheBaseOfTheSheetAsItWasWhenFresh) {
  Json film = pack();
  film["layers"]["b"]["dmin"] = 0.16;
  const Image white = developed(film, scene(1e6f, 1e6f, 1e6f));
  EXPECT_NEAR(1.0, white.data[0], 1e-3);
  EXPECT_NEAR(std::pow(10.0, -0.06), white.data[2], 1e-3);
  film["layers"]["r"]["dmin"] = 0.3;  // yellowed and fogged since
  film["_dmin_ref"] = {{"r", 0.1}, {"g", 0.05}, {"b", 0.16}};
  const Image aged = developed(film, scene(1e6f, 1e6f, 1e6f));
  const double wanted[] = {0.25, 0.05, 0.11};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(std::pow(10.0, -wanted[k]), aged.data[k], 1e-3);
  film["spectral_weights"] = {1, 1, 1};
  film["_dmin_ref"]["g"] = 0.02;
  EXPECT_NEAR(std::pow(10.0, -0.08), developed(film, scene(1e6f, 1e6f, 1e6f)).data[1], 1e-3);
}

TEST(InstantPositive, DyesAbsorbTheirNeighboursLightAboveTheBase) {
  Json film = pack();
  film["layers"]["b"]["dmin"] = 0.16;
  const Image plain = developed(film, scene(0.6f, 0.15f, 0.05f));
  film["dyes"]["crosstalk"] = {1, 0.2, 0.1, 0, 1, 0, 0, 0, 1};
  const Image mixed = developed(film, scene(0.6f, 0.15f, 0.05f));
  const double green = -std::log10(plain.data[1]), blue = -std::log10(plain.data[2]) - 0.06;
  EXPECT_NEAR(0.2 * green + 0.1 * blue, std::log10(plain.data[0] / mixed.data[0]), 1e-5);
  EXPECT_NEAR(plain.data[2], mixed.data[2], 1e-6);
  film["dyes"]["crosstalk"] = {1, 0, 0};
  EXPECT_ANY_THROW(developed(film, scene(1, 1, 1)));
  film["dyes"] = Json::object();
  film["couplers"]["saturation"] = -1.0;
  const Image grey = developed(film, scene(0.6f, 0.15f, 0.05f));
  EXPECT_NEAR(std::pow(10.0, -0.06), grey.data[2] / grey.data[0], 1e-5);
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
  expect_light(developed(film, Image(7, 7, 3, 0.3f), {{"grain_mult", 1e30}}));
}

Image textured(const Json& texture, int h, int w, int channels = 3) {
  Rng rng = rng_from_key({1, 2, 3});
  const Json film = {{"texture", texture}};
  return add_instant_texture(Image(h, w, channels, 1.0f), instant_texture(film, 1.0, h, w), rng);
}

TEST(InstantTexture, StrengthsAreThoseOfTheFilm) {
  const auto deviation = [](const Json& texture) {
    const Image layer = extract_channel(textured(texture, 300, 300), 1);
    return standard_deviation(layer.data.data(), layer.data.size());
  };
  const Json mottle = {{"mottle_amp", 0.02}, {"mottle_scale", 0.02}};
  EXPECT_NEAR(0.02 * std::hypot(0.75, 0.45), deviation(mottle), 0.003);
  for (const Json& alone : {Json{{"fine_amp", 0.01}}, Json{{"streaks_amp", 0.01}},
                            Json{{"silk_amp", 0.01}, {"card_um", 6000}}})
    EXPECT_NEAR(0.01, deviation(alone), 1e-5) << alone;
  EXPECT_EQ(0.0, deviation({{"silk_amp", 0.01}}));  // finer than a pixel
  const Image streaks = textured({{"streaks_amp", 0.05}}, 9, 40, 1);
  EXPECT_EQ(streaks.at(0, 7), streaks.at(8, 7));
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

TEST(InstantPositive, EveryNumberOfAProfileIsSurvived) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double wild : {0.0, -1.0, 1e30, 1e-30, nan})
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
      expect_light(developed(film, Image(side, side, 3, 0.2f)));
    }
}

}  // namespace
}  // namespace morva
