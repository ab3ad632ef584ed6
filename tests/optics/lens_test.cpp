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
  Json zeros = {{"cast", nullptr}, {"chroma_soft", {0, 0, 0}}};
  for (const char* key : {"distortion", "veil", "bloom", "glow", "coma", "astigmatism", "ca",
                          "vignette", "field_curvature", "soften"})
    zeros[key] = 0;
  for (const Json& lens : {Json::object(), zeros, Json(nullptr), Json{{"ca", -0.1}, {"veil", -1}}})
    EXPECT_EQ(through(picture, lens).data, clamped.data) << lens;
  EXPECT_NE(through(picture, {{"optics", {{"vignette", 1.0}}}}).data, clamped.data);
  Image spoiled = picture;
  spoiled.at(3, 3, 0) = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(through(spoiled, zeros).at(3, 3, 0), 0.0f);
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

TEST(Lens, FieldAberrationsGrowTowardsTheCornerEachInItsDirection) {
  const auto sigma_at = [](double rn, double power) {
    const Spot spot = spot_at(rn, {{"field_curvature", 0.02}, {"field_power", power}});
    EXPECT_NEAR(spot.sigma_x, spot.sigma_y, 0.15 * spot.sigma_x) << rn;
    return (spot.sigma_x + spot.sigma_y) / 2.0;  // 12 px of 601 in the corner
  };
  EXPECT_NEAR(sigma_at(0.75, 2.0), 12.0 * 0.5625, 1.0);
  EXPECT_NEAR(sigma_at(0.5, 2.0), 12.0 * 0.25, 0.6);
  EXPECT_NEAR(sigma_at(0.75, 4.0), 12.0 * 0.3164, 1.0);
  // Astigmatism blurs along the circle, and coma along the radius.
  const Spot circle = spot_at(0.75, {{"astigmatism", 0.02}});
  EXPECT_TRUE(circle.sigma_y > 5.5 && circle.sigma_x < 2.0) << circle.sigma_x;
  const Spot radius = spot_at(0.75, {{"coma", 0.02}});
  EXPECT_TRUE(radius.sigma_x > 5.5 && radius.sigma_y < 2.0) << radius.sigma_y;
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

TEST(Lens, VignetteFollowsThePicturesShapeAndOutlastsStoppingDown) {
  const Image after =
      through(Image(200, 400, 3, 1.0f), {{"vignette", 0.6}, {"vignette_power", 2.0}});
  EXPECT_NEAR(after.at(0, 0, 0), 0.4, 0.01);
  EXPECT_NEAR(after.at(100, 0, 1), 0.7, 0.01);  // t^2 = 1/2 in the middle of either side
  EXPECT_NEAR(after.at(0, 200, 1), 0.7, 0.01);
  EXPECT_NEAR(after.at(100, 200, 1), 1.0, 1e-4);
  const ApertureResponse shares = aperture_response(Json::object(), 8.0);
  EXPECT_NEAR(shares.vignetting, 0.3, 0.01);
  EXPECT_TRUE(shares.spherical < shares.field / 10.0 && shares.field < 0.05);
}

TEST(Lens, SoftnessAndGlassActByChannel) {
  const Image picture = lamp(201, 201, 100, 100);
  EXPECT_NEAR(spot_of(through(picture, {{"soften", 20}, {"soften_mix", 1}})).sigma_x, 4.02, 0.02);
  const Image coloured = through(picture, {{"chroma_soft", {20, 0, 1}}});
  EXPECT_NEAR(spot_of(coloured, 0).sigma_x, 4.02, 0.02);
  for (const int k : {1, 2}) EXPECT_EQ(coloured.at(100, 100, k), 1000.0f);  // 0.2 px is sharp
  const Image warm = through(picture, {{"cast", {1.0, 0.5, -2.0}}});
  EXPECT_TRUE(warm.at(100, 100, 1) == 500.0f && warm.at(100, 100, 2) == 0.0f);
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

// A lens file is not to stop a render, whatever it asks for.
TEST(Lens, DamagedFilesGiveAnErrorOrAPicture) {
  Json sound = Json::parse(R"({"bloom_tint": [1, 1, 1], "glow_chroma": [1, 1, 1],
      "chroma_soft": [9, 9, 9], "cast": [1, 1, 1], "aperture_response": {"sa_falloff": 1},
      "bloom_threshold": 0.3, "glow_ring": 0.2, "field_power": 2, "defocus_bias": 0.5,
      "vignette_power": 2, "soften": 10, "soften_mix": 0.5})");
  for (const char* key : {"distortion", "distortion_k5", "veil", "bloom", "bloom_sigma1",
                          "bloom_sigma2", "bloom_halo_mix", "glow", "glow_radius", "ca",
                          "glow_focus_shift", "field_curvature", "astigmatism", "coma", "vignette"})
    sound[key] = 0.03;
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
  // Not even strengths past a float's range, which come out black, or blurs wider than any kernel.
  for (const char* key : {"defocus_bias", "veil", "bloom", "glow"}) sound[key] = 1e308;
  for (const float sample : through(lamp(60, 90, 20, 9, 1e9f), sound).data) ASSERT_GE(sample, 0.0f);
  EXPECT_THROW(through(Image(1, 100'000, 3, 0.5f), {{"coma", 1e-4}}), std::bad_alloc);
}

}  // namespace
}  // namespace morva
