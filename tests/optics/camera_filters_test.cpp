// Filters in front of the lens, white balance, and Planck's locus under it.

#include "optics/camera_filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <numbers>
#include <vector>

#include "image/errors.h"
#include "image/planck.h"
#include "optics/cut_filter.h"
#include "optics/diffusion_filter.h"
#include "optics/graduated_filter.h"
#include "optics/white_balance.h"

namespace morva {
namespace {

Image grey(std::int32_t h, std::int32_t w, float value = 0.5f) {
  return Image(h, w, 3, value);
}

const Json kYellow = {{"type", "cut"}, {"gains", {1.0, 0.8, 0.2}}};

TEST(CameraFilters, TheRightFilterRunsWithTheRightAmount) {
  const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  const Json orange = store.load("filters", "orange"), misty = store.load("filters", "mist_dense");
  const Json film = {{"type", "color_negative"}};
  const auto cut = [&](double a) { return apply_cut_filter(grey(1, 1), orange, film, a); };
  const auto mist = [&](const Image& image) { return apply_diffusion_filter(image, misty, 1.0); };
  // `filter` has no effect beside either of the two.
  const std::pair<Json, Image> cases[] = {
      {{{"filter", "orange"}, {"filter_amount", 0.5}, {"filter_cut_amount", 1.0}}, cut(0.5)},
      {{{"filter_cut", "orange"}, {"filter_amount", 0.5}}, cut(0.5)},
      {{{"filter_cut", "orange"}, {"filter_amount", 0.5}, {"filter_cut_amount", 0.7}}, cut(0.7)},
      {{{"filter", "mist_dense"}, {"filter_cut", "orange"}}, cut(1.0)},
      {{{"filter", "orange"}, {"filter_diffusion", "mist_dense"}}, mist(grey(1, 1))},
      {{{"filter_cut", "orange"}, {"filter_diffusion", "mist_dense"}}, mist(cut(1.0))}};
  for (const auto& [opts, want] : cases)
    EXPECT_EQ(apply_filters(grey(1, 1), film, opts, store).data, want.data) << opts;
  EXPECT_THROW(apply_filters(grey(1, 1), film, {{"filter", "absent"}}, store), ProfileError);
  EXPECT_THROW(apply_front_filters(grey(1, 1), {{"filter_grad", "absent"}}, store), ProfileError);
}

TEST(CutFilter, KeepsTheExposureOfANeutralOnItsFilm) {
  const std::pair<Json, std::array<double, 3>> films[] = {
      {{{"type", "slide"}}, {0.2126, 0.7152, 0.0722}},
      {{{"type", "bw"}}, {0.3, 0.36, 0.34}},
      {{{"type", "bw"}, {"spectral_weights", {0.0, 2.0, 2.0}}}, {0.0, 0.5, 0.5}}};
  for (const auto& [film, weights] : films) {
    const std::vector<float> cut = apply_cut_filter(grey(1, 1), kYellow, film, 1.0).data;
    EXPECT_NEAR(weights[0] * cut[0] + weights[1] * cut[1] + weights[2] * cut[2], 0.5, 1e-6) << film;
    EXPECT_NEAR(cut[0] / cut[2], 5.0, 1e-5) << film;
  }
  const Json film = Json::object();  // broken gains are an error, and opaque ones are not
  EXPECT_EQ(apply_cut_filter(grey(1, 1), kYellow, film, -3.0).data, grey(1, 1).data);
  EXPECT_THROW(apply_cut_filter(grey(1, 1), {{"gains", {1.0, 0.5}}}, film, 1.0), ProfileError);
  for (const float v : apply_cut_filter(grey(1, 1), {{"gains", {0, -1, 0}}}, film, 1.0).data)
    EXPECT_NEAR(v, 0.5f, 1e-6f);
}

TEST(DiffusionFilter, BloomSpreadsOnlyWhatIsAboveTheThreshold) {
  Image picture = grey(201, 101, 0.1f);
  picture.at(100, 50, 0) = 10.6f;
  const Image glow = apply_diffusion_filter(picture, {{"bloom", 0.3}, {"radius_frac", 0.05}}, 1.0);
  double gained = 0.0;
  for (std::size_t i = 0; i < glow.data.size(); i += 3) {
    gained += glow.data[i] - picture.data[i];
    ASSERT_EQ(glow.data[i + 1], 0.1f);
  }
  EXPECT_NEAR(gained, 3.0, 1e-3);  // share 0.3 of the 10 above the threshold
  EXPECT_NEAR((glow.at(100, 55, 0) - 0.1) / (glow.at(105, 50, 0) - 0.1), 1.0, 1e-3);
  // Sigma is a share of the width: 5.05 px.
  EXPECT_NEAR((glow.at(100, 55, 0) - 0.1) / (glow.at(100, 60, 0) - 0.1),
              std::exp(1.5 * 25 / (5.05 * 5.05)), 0.05);
}

Image graduated(int h, int w, const Json& filter, double angle = 0.0, double shift = 0.0) {
  return apply_graduated_filter(grey(h, w, 1.0f), filter, angle, shift);
}

TEST(GraduatedFilter, TheLinePassesThroughTheCentreAtAnyAspect) {
  for (const auto& [h, w] : {std::pair{41, 201}, {201, 41}, {61, 61}})
    for (const double angle : {0.0, 30.0, -90.0})
      EXPECT_NEAR(graduated(h, w, {{"stops", 2.0}}, angle).at(h / 2, w / 2), 0.5, 1e-6)
          << h << " x " << w << " at " << angle;
}

TEST(GraduatedFilter, DenseAboveClearBelow) {
  const Json filter = {{"stops_rgb", {1.0, 2.0, 3.0}}, {"stops", "nine"}, {"edge_frac", 0.1}};
  const Image out = graduated(100, 100, filter);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(out.at(0, 50, k), std::ldexp(1.0f, -(k + 1)));
    EXPECT_EQ(out.at(99, 50, k), 1.0f);
  }
  // Turned by 90 degrees the dense side is the right one: d = -u there.
  const Image turned = graduated(100, 100, filter, 90.0);
  EXPECT_EQ(turned.at(50, 99, 0), 0.5f);
  EXPECT_EQ(turned.at(50, 0, 0), 1.0f);
  // Moved down by half a half side, the line stands at three quarters of the height;
  // the transition reaches a quarter of 50.5 px to either side of it.
  const Image moved = graduated(101, 101, {{"stops", 2.0}}, 0.0, 0.5);
  EXPECT_NEAR(moved.at(75, 50), 0.5, 0.02);
  EXPECT_TRUE(moved.at(62, 50) == 0.25f && moved.at(64, 50) > 0.25f);
  EXPECT_TRUE(moved.at(88, 50) == 1.0f && moved.at(86, 50) < 1.0f);
}

TEST(GraduatedFilter, AReverseOneThinsTowardsItsFarEdgeAndExtremesStayDefined) {
  const Image out = graduated(
      401, 401, {{"stops", 3.0}, {"grad", "reverse"}, {"edge_frac", 0.05}, {"reverse_far", 0.4}});
  const auto stops = [&](int y) { return -std::log2(out.at(y, 200)); };
  EXPECT_GT(stops(190), 2.5);
  // 30 px of 200.5 are three half edges, where the difference has fallen to 1 / e.
  EXPECT_NEAR(stops(170), 3.0 * (0.6 / std::numbers::e + 0.4), 0.005);
  EXPECT_NEAR(stops(0), 3.0 * 0.4, 1e-3);
  EXPECT_EQ(out.at(400, 200), 1.0f);
  for (const char* key : {"edge_frac", "angle", "stops"})
    for (const double extreme : {0.0, -5.0, 1e300, -1e300})
      EXPECT_EQ(graduated(1, 1, {{key, extreme}}, 1e18, -1e300).data.size(), 3u);
}

TEST(Planck, FollowsTheLocusAtKnownTemperatures) {
  // CIE 1931 chromaticities of black bodies; the splines stay within some 1e-3 of them.
  const double known[][3] = {{2000, 0.5267, 0.4133}, {2856, 0.4475, 0.4075},
                             {3200, 0.4234, 0.3990}, {5000, 0.3451, 0.3516},
                             {6500, 0.3135, 0.3237}, {10000, 0.2807, 0.2884},
                             {20000, 0.2565, 0.2577}};
  for (const auto& [kelvin, x, y] : known) {
    const auto rgb = planck_rgb(kelvin);
    const double X = 0.4124 * rgb[0] + 0.3576 * rgb[1] + 0.1805 * rgb[2];
    const double Y = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
    const double Z = 0.0193 * rgb[0] + 0.1192 * rgb[1] + 0.9505 * rgb[2];
    // Below about 1900 K blue leaves the gamut; these temperatures are all inside.
    EXPECT_NEAR(X / (X + Y + Z), x, 2e-3) << kelvin;
    EXPECT_NEAR(Y / (X + Y + Z), y, 2e-3) << kelvin;
    EXPECT_NEAR(Y, 1.0, 1e-3) << kelvin;
  }
}

TEST(Planck, BranchesMeetAndTheRangeIsHeld) {
  for (const double joint : {2222.0, 4000.0})
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(planck_rgb(joint)[k], planck_rgb(joint + 1e-6)[k], 2e-3) << joint;
  EXPECT_EQ(planck_rgb(100.0), planck_rgb(1667.0));
  EXPECT_EQ(planck_rgb(1e9), planck_rgb(25000.0));
  EXPECT_EQ(planck_rgb(1667.0)[2], 1e-6f);
}

Image balanced_grey(const Json& film, const Json& opts) {
  return apply_wb(Image(1, 1, 3, 0.18f), film, opts);
}

TEST(WhiteBalance, KeepsTheLuminanceOfANeutral) {
  const Json film = {{"balance", {{"illuminant_K", 3200}}}};
  for (const double temp : {-200.0, -20.0, 15.0, 300.0})
    for (const double tint : {-60.0, 0.0, 60.0}) {
      const std::vector<float> grey =
          balanced_grey(film, {{"wb_temp", temp}, {"wb_tint", tint}}).data;
      const double luminance = 0.2126 * grey[0] + 0.7152 * grey[1] + 0.0722 * grey[2];
      EXPECT_NEAR(luminance, 0.18, 1e-7) << temp << ", " << tint;
      EXPECT_EQ(grey[0] > grey[2], temp > 0.0) << temp << ", " << tint;
    }
}

TEST(WhiteBalance, TemperatureAndTintHaveTheirGains) {
  const Image tinted = balanced_grey(Json::object(), {{"wb_tint", 100.0}});
  EXPECT_NEAR(tinted.data[1] / tinted.data[0], std::pow(10.0, -0.06), 1e-6);
  EXPECT_FLOAT_EQ(tinted.data[0], tinted.data[2]);
  // A hundred mired below daylight.
  const Image grey = balanced_grey({{"balance", {{"illuminant_K", 5500}}}}, {{"wb_temp", 100.0}});
  const double gains[3] = {1.3774607, 0.9390108, 0.4926773};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(grey.data[k] / 0.18, gains[k], 1e-5) << k;
}

TEST(WhiteBalance, StopsAtTheEndsOfTheMiredScale) {
  const Json film = {{"balance", "daylight"}};  // not an object: 5500 K
  for (const int sign : {1, -1})
    EXPECT_EQ(balanced_grey(film, {{"wb_temp", sign * 600}}).data,
              balanced_grey(film, {{"wb_temp", sign * 1e9}}).data);
  const auto coolest = temperature_gains(25000.0, 5500.0);
  EXPECT_NEAR(balanced_grey(film, {{"wb_temp", -600}}).data[2], 0.18f * coolest[2], 1e-6);
}

}  // namespace
}  // namespace morva
