#include "optics/lens.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <string>

#include "image/errors.h"
#include "image/on_every_isa.h"
#include "optics/aperture_response.h"
#include "optics/lens_sampling.h"

namespace morva {
namespace {

Image through(const Image& picture, const Json& lens, const Json& opts = Json::object()) {
  return apply_lens(picture, lens, opts, RenderContext());
}

Image lamp(std::int32_t h, std::int32_t w, std::int32_t y, std::int32_t x, float level = 1000.0f) {
  Image picture(h, w, 3);
  for (int k = 0; k < 3; ++k) picture.at(y, x, k) = level;
  return picture;
}

// Light, centre and spread of a channel.
struct Spot {
  double light = 0.0;
  double y = 0.0, x = 0.0, sigma_y = 0.0, sigma_x = 0.0;
};

Spot spot_of(const Image& picture, std::int32_t k = 1) {
  Spot spot;
  double yy = 0.0, xx = 0.0;
  for (std::int32_t y = 0; y < picture.h; ++y)
    for (std::int32_t x = 0; x < picture.w; ++x) {
      const double light = picture.at(y, x, k);
      spot.light += light;
      spot.y += light * y, spot.x += light * x;
      yy += light * y * y, xx += light * x * x;
    }
  spot.y /= spot.light, spot.x /= spot.light;
  spot.sigma_y = std::sqrt(std::max(0.0, yy / spot.light - spot.y * spot.y));
  spot.sigma_x = std::sqrt(std::max(0.0, xx / spot.light - spot.x * spot.x));
  return spot;
}

// The spot of a lamp that stands to the right of the centre, at `rn` of the corner's distance.
Spot spot_at(double rn, const Json& lens) {
  const std::int32_t h = 101, w = 601;
  const double corner = std::hypot((h - 1) / 2.0, (w - 1) / 2.0);
  return spot_of(through(lamp(h, w, 50, 300 + static_cast<int>(std::lround(rn * corner))), lens));
}

TEST(Lens, WithoutStrengthsLeavesThePicture) {
  const Image picture = random_image(23, 31, 3);
  Image clamped = picture;
  for (float& sample : clamped.data) sample = std::max(0.0f, sample);
  const Json zeros = Json::parse(R"({"distortion": 0, "veil": 0, "bloom": 0, "glow": 0, "coma": 0,
      "astigmatism": 0, "ca": 0, "vignette": 0, "field_curvature": 0, "soften": 0, "cast": null,
      "chroma_soft": [0, 0, 0]})");
  for (const Json& lens : {Json::object(), zeros, Json(nullptr), Json{{"ca", -0.1}, {"veil", -1}}})
    EXPECT_EQ(through(picture, lens).data, clamped.data) << lens;
  EXPECT_NE(through(picture, {{"optics", {{"vignette", 1.0}}}}).data, clamped.data);
  Image spoiled = picture;
  spoiled.at(3, 3, 0) = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(through(spoiled, zeros).at(3, 3, 0), 0.0f);
}

TEST(Lens, StoppingDownLeavesARestOfTheVignettingAndLittleElse) {
  const ApertureResponse left = aperture_response(Json::object(), 8.0);
  EXPECT_NEAR(left.vignetting, 0.3, 0.01);
  EXPECT_TRUE(left.spherical < left.field / 10.0 && left.field < 0.05);
}

TEST(Lens, GlowMovesLightAndMakesNone) {
  const Image picture = lamp(301, 401, 150, 200);
  const Json lens = {{"glow", 0.5}, {"glow_radius", 0.03}, {"glow_chroma", {1.0, 1.0, 2.0}}};
  const Image after = through(picture, lens);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(spot_of(after, k).light, 1000.0, 5.0) << k;
  // Half the light lies in a Gaussian of 12 px, 24 in blue.
  EXPECT_NEAR(spot_of(after, 1).sigma_x, std::sqrt(0.5) * 12.0, 0.05);
  EXPECT_NEAR(spot_of(after, 2).sigma_y, std::sqrt(0.5) * 24.0, 0.05);
  EXPECT_EQ(through(picture, lens, {{"glow_mult", 0}}).data, picture.data);
  EXPECT_NEAR(spot_of(through(picture, lens, {{"glow_radius_mult", 2.0}}), 1).sigma_x,
              spot_of(after, 2).sigma_x, 0.01);
}

// The ring takes its light from the middle: on a lit ground none is cut off at black.
TEST(Lens, GlowWithARingKeepsTheLight) {
  Image picture(200, 300, 3, 0.4f);
  picture.at(90, 120, 1) = 30.0f;
  const Image after = through(picture, {{"glow", 0.4}, {"glow_ring", 0.6}});
  EXPECT_GT(after.at(90, 127, 1), after.at(90, 122, 1));
  EXPECT_NEAR(spot_of(after).light / spot_of(picture).light, 1.0, 0.005);
}

TEST(Lens, VeilAndBloomAddTheirShare) {
  const Image grey(60, 90, 3, 0.5f);
  for (const float sample : through(grey, {{"veil", 0.1}}).data) ASSERT_NEAR(sample, 0.55f, 1e-6f);
  EXPECT_EQ(through(grey, {{"bloom", 1.0}}).data, grey.data);  // below the threshold
  const Image picture = lamp(201, 301, 100, 150);
  const Json lens = {{"bloom", 0.2}, {"bloom_threshold", 200}, {"bloom_tint", {1.0, 0.5, 0.0}}};
  const Image after = through(picture, lens);
  EXPECT_NEAR(spot_of(after, 0).light, 1000.0 + 0.2 * 800.0, 0.5);
  EXPECT_NEAR(spot_of(after, 1).light, 1000.0 + 0.1 * 800.0, 0.5);
  EXPECT_EQ(after.at(100, 150, 2), 1000.0f);
}

TEST(Lens, FieldCurvatureGrowsTowardsTheCorner) {
  const auto sigma_at = [](double rn, double power) {
    const Spot spot = spot_at(rn, {{"field_curvature", 0.02}, {"field_power", power}});
    EXPECT_NEAR(spot.sigma_x, spot.sigma_y, 0.15 * spot.sigma_x) << rn;
    return (spot.sigma_x + spot.sigma_y) / 2.0;  // 12 px of 601 in the corner
  };
  EXPECT_NEAR(sigma_at(0.75, 2.0), 12.0 * 0.5625, 1.0);
  EXPECT_NEAR(sigma_at(0.5, 2.0), 12.0 * 0.25, 0.6);
  EXPECT_NEAR(sigma_at(0.75, 4.0), 12.0 * 0.3164, 1.0);
}

TEST(Lens, AstigmatismBlursAlongTheCircleAndComaAlongTheRadius) {
  const Spot circle = spot_at(0.75, {{"astigmatism", 0.02}});
  EXPECT_GT(circle.sigma_y, 5.5);
  EXPECT_LT(circle.sigma_x, 2.0);
  const Spot radius = spot_at(0.75, {{"coma", 0.02}});
  EXPECT_GT(radius.sigma_x, 5.5);
  EXPECT_LT(radius.sigma_y, 2.0);
}

TEST(Lens, DetailInFocusIsSparedFromFieldBlur) {
  Image picture(120, 180, 3, 0.4f);  // stripes on the left, the rest is out of focus
  for (std::int32_t y = 0; y < 120; ++y)
    for (std::int32_t x = 0; x < 20; ++x)
      for (int k = 0; k < 3; ++k) picture.at(y, x, k) = x % 4 < 2 ? 0.1f : 0.7f;
  const auto contrast = [&](double bias) {
    const Image after = through(picture, {{"field_curvature", 0.02}, {"defocus_bias", bias}});
    return after.at(100, 10, 1) - after.at(100, 12, 1);
  };
  EXPECT_GT(std::fabs(contrast(0.9)), 2.0f * std::fabs(contrast(0.0)));
}

TEST(Lens, DistortionMovesLightAlongTheRadius) {
  const Image picture = lamp(201, 301, 100, 250);
  const double corner = std::hypot(100.0, 150.0);
  // r (1 + k1 r^2 + k2 r^4) = 100 px at the lamp.
  for (const auto& [k1, k2] : {std::pair{0.2, 0.1}, {-0.2, 0.0}}) {
    const Json lens = {{"distortion", k1}, {"distortion_k5", k2}};
    const double r = spot_of(through(picture, lens)).x - 150.0, u = r / corner;
    EXPECT_TRUE(k1 > 0.0 ? r < 98.0 : r > 102.0) << r;
    EXPECT_NEAR(r * (1.0 + k1 * u * u + k2 * u * u * u * u), 100.0, 0.5);
    EXPECT_EQ(through(picture, lens, {{"distortion", false}}).data, picture.data);
  }
}

TEST(Lens, LateralColourMagnifiesRedAndShrinksBlue) {
  const Image after = through(lamp(101, 301, 50, 250), {{"ca", 0.02}});
  EXPECT_NEAR(spot_of(after, 0).x, 250.0 + 2.0, 0.05);
  EXPECT_EQ(spot_of(after, 1).x, 250.0);
  EXPECT_NEAR(spot_of(after, 2).x, 250.0 - 2.0, 0.05);
  EXPECT_NEAR(spot_of(after, 0).y, 50.0, 1e-6);
}

TEST(Lens, VignetteFollowsThePicturesShape) {
  const Image after =
      through(Image(200, 400, 3, 1.0f), {{"vignette", 0.6}, {"vignette_power", 2.0}});
  EXPECT_NEAR(after.at(0, 0, 0), 0.4, 0.01);
  EXPECT_NEAR(after.at(100, 0, 1), 0.7, 0.01);  // t^2 = 1/2 in the middle of either side
  EXPECT_NEAR(after.at(0, 200, 1), 0.7, 0.01);
  EXPECT_NEAR(after.at(100, 200, 1), 1.0, 1e-4);
}

TEST(Lens, SoftnessAndGlassActByChannel) {
  const Image picture = lamp(201, 201, 100, 100);
  EXPECT_NEAR(spot_of(through(picture, {{"soften", 20}, {"soften_mix", 1}})).sigma_x, 4.02, 0.02);
  const Image coloured = through(picture, {{"chroma_soft", {20, 0, 1}}});
  EXPECT_NEAR(spot_of(coloured, 0).sigma_x, 4.02, 0.02);
  EXPECT_EQ(coloured.at(100, 100, 1), 1000.0f);
  EXPECT_EQ(coloured.at(100, 100, 2), 1000.0f);  // 0.2 px is sharp
  const Image warm = through(picture, {{"cast", {1.0, 0.5, -2.0}}});
  EXPECT_EQ(warm.at(100, 100, 1), 500.0f);
  EXPECT_EQ(warm.at(100, 100, 2), 0.0f);
}

// A lens file is not to stop a render, whatever it asks for: blurs wider than any kernel, or
// strengths past a float's range.
TEST(Lens, AbsurdStrengthsEndSoonInAPicture) {
  // All of them together overflow a float; what is no number comes out black.
  const Json dazzling = Json::parse(R"({"field_curvature": 0.02, "defocus_bias": 1e308,
      "veil": 1e308, "bloom": 1e308, "glow": 1e308})");
  for (const float sample : through(lamp(60, 90, 20, 9, 1e9f), dazzling).data)
    ASSERT_GE(sample, 0.0f);
  EXPECT_THROW(through(Image(1, 100'000, 3, 0.5f), {{"coma", 1e-4}}), std::bad_alloc);
}

// Past 2^24 the float of a line's last index is the next one up.
TEST(Lens, SamplingStaysWithinTheLongestLine) {
  for (const std::int32_t n : {1, 2, 7, (1 << 24) + 2, (1 << 25) + 4, 2147483647})
    for (const float position : {0.0f, 0.5f, static_cast<float>(n), 3e38f, -1.0f, std::nanf("")}) {
      const Between at = between(position, n);
      EXPECT_LT(at.upper, static_cast<std::size_t>(n)) << position;
      EXPECT_LE(at.upper - at.lower, 1u) << position;
      EXPECT_TRUE(at.upper_share >= 0.0 && at.upper_share < 1.0) << position;
    }
}

TEST(Lens, DamagedFilesGiveAnErrorOrAPicture) {
  const Json sound = Json::parse(R"({"distortion": 0.05, "distortion_k5": 0.01, "veil": 0.1,
      "bloom": 0.2, "bloom_threshold": 0.3, "bloom_tint": [1, 1, 1], "bloom_sigma1": 0.01,
      "bloom_sigma2": 0.05, "bloom_halo_mix": 0.4, "glow": 0.3, "glow_radius": 0.05,
      "glow_ring": 0.2, "glow_chroma": [1, 1, 1], "glow_focus_shift": 0.01,
      "field_curvature": 0.03, "astigmatism": 0.03, "coma": 0.03, "field_power": 2,
      "defocus_bias": 0.5, "ca": 0.01, "vignette": 0.5, "vignette_power": 2, "soften": 10,
      "soften_mix": 0.5, "chroma_soft": [9, 9, 9], "cast": [1, 1, 1],
      "aperture_response": {"sa_falloff": 1}})");
  const Image picture = random_image(30, 40, 3);
  const Json strange = Json::parse(R"([null, [1, 2], {"a": 1}, 1e300, -1e300, 1e5, "0.5"])");
  for (const auto& [key, value] : sound.items())
    for (const Json& other : strange) {
      Json lens = sound;
      lens[key] = other;
      try {
        for (const float sample : through(picture, lens, {{"stop", 0.5}}).data)
          ASSERT_TRUE(sample >= 0.0f && std::isfinite(sample)) << key << " " << other;
      } catch (const OptionsError&) {
      } catch (const ProfileError&) {
      } catch (const Json::type_error&) {
      }
    }
}

}  // namespace
}  // namespace morva
