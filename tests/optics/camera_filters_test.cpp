#include "optics/camera_filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <numbers>
#include <vector>

#include "image/errors.h"
#include "optics/cut_filter.h"
#include "optics/diffusion_filter.h"
#include "optics/graduated_filter.h"

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
  const auto run = [&](const Json& opts) {
    return apply_filters(grey(1, 1), film, opts, store).data;
  };
  const auto cut = [&](double a) { return apply_cut_filter(grey(1, 1), orange, film, a).data; };
  const auto mist = [&](double a) { return apply_diffusion_filter(grey(1, 1), misty, a).data; };

  EXPECT_EQ(run({{"filter", "orange"}, {"filter_amount", 0.5}, {"filter_cut_amount", 1.0}}),
            cut(0.5));
  EXPECT_EQ(run({{"filter_cut", "orange"}, {"filter_amount", 0.5}}), cut(0.5));
  EXPECT_EQ(run({{"filter_cut", "orange"}, {"filter_amount", 0.5}, {"filter_cut_amount", 0.7}}),
            cut(0.7));
  // `filter` has no effect beside either of the two.
  EXPECT_EQ(run({{"filter", "mist_dense"}, {"filter_cut", "orange"}}), cut(1.0));
  EXPECT_EQ(run({{"filter", "orange"}, {"filter_diffusion", "mist_dense"}}), mist(1.0));
  EXPECT_EQ(
      run({{"filter_cut", "orange"}, {"filter_diffusion", "mist_dense"}}),
      apply_diffusion_filter(apply_cut_filter(grey(1, 1), orange, film, 1.0), misty, 1.0).data);
  EXPECT_THROW(run({{"filter", "absent"}}), ProfileError);
  EXPECT_THROW(apply_front_filters(grey(1, 1), {{"filter_grad", "absent"}}, store), ProfileError);
}

TEST(CutFilter, KeepsTheExposureOfANeutralOnItsFilm) {
  struct Case {
    Json film;
    double weights[3];
  };
  for (const auto& [film, weights] :
       {Case{{{"type", "slide"}}, {0.2126, 0.7152, 0.0722}},
        Case{{{"type", "bw"}}, {0.3, 0.36, 0.34}},
        Case{{{"type", "bw"}, {"spectral_weights", {0.0, 2.0, 2.0}}}, {0.0, 0.5, 0.5}}}) {
    const std::vector<float> cut = apply_cut_filter(grey(1, 1), kYellow, film, 1.0).data;
    EXPECT_NEAR(weights[0] * cut[0] + weights[1] * cut[1] + weights[2] * cut[2], 0.5, 1e-6) << film;
    EXPECT_NEAR(cut[0] / cut[2], 5.0, 1e-5) << film;
  }
}

TEST(CutFilter, BrokenGainsAreAnErrorAndOpaqueOnesAreNot) {
  const Json film = Json::object();
  EXPECT_EQ(apply_cut_filter(grey(1, 1), kYellow, film, -3.0).data, grey(1, 1).data);
  EXPECT_THROW(apply_cut_filter(grey(1, 1), {{"gains", {1.0, 0.5}}}, film, 1.0), ProfileError);
  for (const float v : apply_cut_filter(grey(1, 1), {{"gains", {0, -1, 0}}}, film, 1.0).data)
    EXPECT_NEAR(v, 0.5f, 1e-6f);
}

TEST(DiffusionFilter, HazeTradesContrastForTheMean) {
  Image picture = grey(1, 2, 0.2f);
  for (int k = 0; k < 3; ++k) picture.at(0, 1, k) = 0.6f;
  const Image hazy = apply_diffusion_filter(picture, {{"haze", 0.1}}, 2.0);
  // Mean 0.4, haze 0.2: x * 0.9 + 0.08.
  EXPECT_NEAR(hazy.at(0, 0), 0.26, 1e-6);
  EXPECT_NEAR(hazy.at(0, 1), 0.62, 1e-6);
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

TEST(DiffusionFilter, ASpoiledSampleSpoilsNoOther) {
  Image picture = grey(20, 20, 0.9f);
  picture.at(3, 3, 0) = std::numeric_limits<float>::infinity();
  picture.at(7, 7, 1) = std::numeric_limits<float>::quiet_NaN();
  const Image out = apply_diffusion_filter(picture, {{"haze", 0.2}, {"bloom", 0.5}}, 1.0);
  EXPECT_EQ(std::ranges::count_if(out.data, [](float v) { return !std::isfinite(v); }), 2);
}

TEST(GraduatedFilter, TheLinePassesThroughTheCentreAtAnyAspect) {
  for (const auto& [h, w] : {std::pair{41, 201}, {201, 41}, {61, 61}})
    for (const double angle : {0.0, 30.0, -90.0}) {
      const Image out = apply_graduated_filter(grey(h, w, 1.0f), {{"stops", 2.0}}, angle, 0.0);
      EXPECT_NEAR(out.at(h / 2, w / 2), 0.5, 1e-6) << h << " x " << w << " at " << angle;
    }
}

TEST(GraduatedFilter, DenseAboveClearBelow) {
  const Json filter = {{"stops_rgb", {1.0, 2.0, 3.0}}, {"stops", "nine"}, {"edge_frac", 0.1}};
  const Image out = apply_graduated_filter(grey(100, 100, 1.0f), filter, 0.0, 0.0);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(out.at(0, 50, k), std::ldexp(1.0f, -(k + 1)));
    EXPECT_EQ(out.at(99, 50, k), 1.0f);
  }
  // Turned by 90 degrees the dense side is the right one: d = -u there.
  const Image turned = apply_graduated_filter(grey(100, 100, 1.0f), filter, 90.0, 0.0);
  EXPECT_EQ(turned.at(50, 99, 0), 0.5f);
  EXPECT_EQ(turned.at(50, 0, 0), 1.0f);
  // Moved down by half a half side, the line stands at three quarters of the height;
  // the transition reaches a quarter of 50.5 px to either side of it.
  const Image moved = apply_graduated_filter(grey(101, 101, 1.0f), {{"stops", 2.0}}, 0.0, 0.5);
  EXPECT_NEAR(moved.at(75, 50), 0.5, 0.02);
  EXPECT_EQ(moved.at(62, 50), 0.25f);
  EXPECT_EQ(moved.at(88, 50), 1.0f);
  EXPECT_GT(moved.at(64, 50), 0.25f);
  EXPECT_LT(moved.at(86, 50), 1.0f);
}

TEST(GraduatedFilter, AReverseFilterThinsTowardsItsFarEdge) {
  const Json filter = {
      {"stops", 3.0}, {"grad", "reverse"}, {"edge_frac", 0.05}, {"reverse_far", 0.4}};
  const Image out = apply_graduated_filter(grey(401, 401, 1.0f), filter, 0.0, 0.0);
  const auto stops = [&](int y) { return -std::log2(out.at(y, 200)); };
  EXPECT_GT(stops(190), 2.5);
  // 30 px of 200.5 are three half edges, where the difference has fallen to 1 / e.
  EXPECT_NEAR(stops(170), 3.0 * (0.6 / std::numbers::e + 0.4), 0.005);
  EXPECT_NEAR(stops(0), 3.0 * 0.4, 1e-3);
  EXPECT_EQ(out.at(400, 200), 1.0f);
}

TEST(GraduatedFilter, ExtremeValuesStayDefined) {
  for (const char* key : {"edge_frac", "angle", "stops"})
    for (const double extreme : {0.0, -5.0, 1e300, -1e300})
      EXPECT_EQ(apply_graduated_filter(grey(1, 1), {{key, extreme}}, 1e18, -1e300).data.size(), 3u);
}

}  // namespace
}  // namespace morva
