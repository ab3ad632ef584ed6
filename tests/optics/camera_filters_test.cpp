// Which filter runs, in which amount, and what colour, graduated and diffusion filters and the
// white balance do to light.

#include "optics/camera_filters.h"

#include <gtest/gtest.h>

#include <cmath>

#include "image/errors.h"
#include "image/planck.h"
#include "optics/cut_filter.h"
#include "optics/diffusion_filter.h"
#include "optics/filter_shelf.h"
#include "optics/graduated_filter.h"
#include "optics/white_balance.h"

namespace morva {
namespace {

constexpr const char* kNumericAccess = "cannot use operator[] with a numeric argument with ";

// A picture of smooth, different channels, 0.02 to about 1.2.
Image scene(int h, int w) {
  Image image(h, w, 3);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int k = 0; k < 3; ++k)
        image.at(y, x, k) = 0.02f + static_cast<float>((y * 7 + x * (3 + k)) % 97) / 83.0f;
  return image;
}

double luminance(const std::array<float, 3>& gains) {
  return 0.2126 * gains[0] + 0.7152 * gains[1] + 0.0722 * gains[2];
}

TEST(WhiteBalance, KeepsTheLuminanceOfANeutral) {
  const Json film = Json::parse(R"({"balance": {"illuminant_K": 3200}})");
  for (const double mired : {-200.0, -35.0, 0.0, 60.0, 250.0}) {
    for (const double tint : {-80.0, 0.0, 120.0}) {
      const auto gains = white_balance_gains(film, {{"wb_temp", mired}, {"wb_tint", tint}});
      ASSERT_EQ(mired != 0.0 || tint != 0.0, gains.has_value());
      if (!gains) continue;
      EXPECT_NEAR(1.0, luminance(*gains), 1e-6);
      if (tint == 0.0) EXPECT_EQ(mired > 0.0, (*gains)[0] > (*gains)[2]);
      if (mired == 0.0) EXPECT_EQ(tint > 0.0, (*gains)[1] < (*gains)[0]);
    }
  }
}

TEST(WhiteBalance, IsCountedInMiredAndBounded) {
  const Json daylight = Json::parse(R"({"balance": 7})");  // not an object: 5500 K
  const double shift = 1e6 / 3200.0 - 1e6 / 5500.0;
  const auto to_lamp = white_balance_gains(daylight, {{"wb_temp", shift}});
  const std::array<float, 3> lamp = temperature_gains(3200.0, 5500.0);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(lamp[k], (*to_lamp)[k], 1e-6);
  EXPECT_EQ(white_balance_gains(daylight, {{"wb_temp", 1e308}}),
            white_balance_gains(daylight, {{"wb_temp", 600.0}}));
  EXPECT_EQ(white_balance_gains(daylight, {{"wb_temp", -1e308}}),
            white_balance_gains(daylight, {{"wb_temp", -400.0}}));
  for (const double tint : {-1e308, 1e308})
    for (const float gain : *white_balance_gains(daylight, {{"wb_tint", tint}}))
      EXPECT_TRUE(std::isfinite(gain));
  const Image picture = scene(5, 4);
  EXPECT_EQ(picture.data, apply_wb(picture, daylight, {{"wb_temp", 1e-6}}).data);
  EXPECT_NE(picture.data, apply_wb(picture, daylight, {{"wb_temp", 1e-3}}).data);
}

TEST(CutFilter, CompensatesTheExposureOfANeutral) {
  const Json red = Json::parse(R"({"gains": [1.0, 0.1, -3]})");
  const auto colour = cut_filter_gains(red, Json::parse(R"({"type": "slide"})"), 1.0);
  EXPECT_NEAR(1.0, luminance(colour), 1e-6);
  EXPECT_NEAR(10.0, colour[0] / colour[1], 1e-4);
  EXPECT_GT(colour[2], 0.0f);
  const auto silver = cut_filter_gains(red, Json::parse(R"({"type": "bw"})"), 1.0);
  EXPECT_NEAR(1.0, 0.3 * silver[0] + 0.36 * silver[1] + 0.34 * silver[2], 1e-6);
  const auto blind =
      cut_filter_gains(red, Json::parse(R"({"type": "bw", "spectral_weights": [0, 1, 3]})"), 1.0);
  EXPECT_NEAR(4.0, 1.0 * blind[1] + 3.0 * blind[2], 1e-5);
}

TEST(CutFilter, AmountRunsFromNoneToTheWhole) {
  const Json filter = Json::parse(R"({"gains": [0.4, 1.0, 0.3]})");
  const Json film;
  EXPECT_EQ((std::array{1.0f, 1.0f, 1.0f}), cut_filter_gains(filter, film, 0.0));
  EXPECT_EQ(cut_filter_gains(filter, film, 0.0), cut_filter_gains(filter, film, -2.0));
  EXPECT_EQ(cut_filter_gains(filter, film, 1.0), cut_filter_gains(filter, film, 2.0));
  EXPECT_EQ((std::array{1.0f, 1.0f, 1.0f}), cut_filter_gains(Json::object(), film, 1.0));
}

TEST(RearFilters, TheCommonKeyYieldsToTheOwnKeys) {
  FilterShelf shelf;
  shelf.put("red", R"({"type": "cut", "gains": [1, 0.1, 0.02]})");
  shelf.put("green", R"({"type": "cut", "gains": [0.4, 1, 0.4]})");
  shelf.put("haze", R"({"type": "diffusion", "haze": 0.2})");
  const ProfileStore store = shelf.store();
  const Json film = Json::parse(R"({"type": "color"})");
  const Image picture = scene(12, 9);
  const auto through = [&](const Json& opts) {
    return apply_filters(picture, film, opts, store).data;
  };
  const auto red = through({{"filter_cut", "red"}});
  EXPECT_NE(picture.data, red);
  EXPECT_EQ(red, through({{"filter", "red"}}));
  EXPECT_EQ(red, through({{"filter", "green"}, {"filter_cut", "red"}, {"filter_diffusion", ""}}));
  EXPECT_EQ(through({{"filter_diffusion", "haze"}}), through({{"filter", "haze"}}));
  EXPECT_EQ(through({{"filter_diffusion", "haze"}}),
            through({{"filter", "red"}, {"filter_diffusion", "haze"}}));
  EXPECT_EQ(picture.data, through({{"filter", nullptr}, {"filter_cut", nullptr}}));

  // A filter takes its own amount where there is one; the common key takes the common amount.
  const auto half = through({{"filter_cut", "red"}, {"filter_cut_amount", 0.5}});
  EXPECT_EQ(half, through({{"filter_cut", "red"}, {"filter_amount", 0.5}}));
  EXPECT_EQ(half, through({{"filter", "red"}, {"filter_amount", 0.5}, {"filter_cut_amount", 1}}));
  EXPECT_EQ(picture.data, through({{"filter", "red"}, {"filter_amount", 0}}));

  // Colour first, then diffusion.
  const Image cut = apply_filters(picture, film, {{"filter_cut", "red"}}, store);
  EXPECT_EQ(apply_filters(cut, film, {{"filter_diffusion", "haze"}}, store).data,
            through({{"filter_cut", "red"}, {"filter_diffusion", "haze"}}));

  EXPECT_THROW(through({{"filter_cut", "absent"}}), ProfileError);
  EXPECT_THROW(apply_front_filters(picture, {{"filter_grad", "absent"}}, store), ProfileError);
  EXPECT_THROW(apply_front_filters(picture, {{"filter_rays", ""}}, store), ProfileError);
}

TEST(CameraFilters, IllTypedArraysFailClearly) {
  FilterShelf shelf;
  shelf.put("cut", R"({"type": "cut", "gains": "red"})");
  shelf.put("short", R"({"type": "cut", "gains": [1, 0.5]})");
  shelf.put("worded", R"({"type": "cut", "gains": [1, 0.5, "much"]})");
  shelf.put("grad", R"({"stops_rgb": 2})");
  shelf.put("rays", R"({"tint": null})");
  const ProfileStore store = shelf.store();
  const Image picture = scene(3, 3);
  const auto text_of = [&](const auto& call) -> std::string {
    try {
      call();
    } catch (const std::exception& error) {
      return error.what();
    }
    return "";
  };
  const auto front = [&](const Json& opts) {
    return text_of([&] { apply_front_filters(picture, opts, store); });
  };
  const auto rear = [&](const Json& film, const Json& opts) {
    return text_of([&] { apply_filters(picture, film, opts, store); });
  };
  const Json blind = Json::parse(R"({"type": "bw", "spectral_weights": true})");
  EXPECT_NE(std::string::npos, front({{"filter_grad", "grad"}}).find(kNumericAccess));
  EXPECT_NE(std::string::npos, front({{"filter_rays", "rays"}}).find(kNumericAccess));
  EXPECT_NE(std::string::npos, rear({}, {{"filter_cut", "cut"}}).find(kNumericAccess));
  EXPECT_NE(std::string::npos, rear(blind, {{"filter_cut", "short"}}).find("gains"));
  shelf.put("good", R"({"gains": [1, 1, 1]})");
  EXPECT_NE(std::string::npos, rear(blind, {{"filter_cut", "good"}}).find(kNumericAccess));
  EXPECT_NE(std::string::npos, rear({}, {{"filter_cut", "worded"}}).find("much"));
}

Image graduated(int h, int w, const Json& filter, const Json& opts) {
  return graduate(Image(h, w, 3, 1.0f), graduated_params(filter, opts));
}

TEST(GraduatedFilter, TheLinePassesTheCentreAtAnyAspect) {
  const Json filter = Json::parse(R"({"stops": 2, "edge_frac": 0.2})");
  for (const auto& [h, w] : {std::pair{41, 41}, {31, 91}, {91, 31}, {1, 1}, {5, 1}}) {
    for (const double angle : {0.0, 30.0, 90.0, 180.0, -135.0, 720.0}) {
      const Image out = graduated(h, w, filter, {{"grad_angle", angle}});
      EXPECT_NEAR(0.5, out.at(h / 2, w / 2), 1e-6) << h << "x" << w << " at " << angle;
      for (int y = 0; y < h; ++y)  // as dense above the line as clear below it, in stops
        for (int x = 0; x < w; ++x)
          EXPECT_NEAR(0.25, out.at(y, x) * out.at(h - 1 - y, w - 1 - x), 1e-6);
    }
  }
  const Image level = graduated(100, 60, filter, Json::object());
  EXPECT_NEAR(0.25, level.at(0, 0), 1e-6);  // the dense side is up
  EXPECT_EQ(1.0f, level.at(99, 0));
  const Image turned = graduated(60, 100, filter, {{"grad_angle", 90}});
  EXPECT_LT(turned.at(30, 99), turned.at(30, 0));  // turning moves the dense side to the right
  const Image lowered = graduated(100, 60, filter, {{"grad_pos", 0.4}});
  for (int y = 0; y < 100; ++y) EXPECT_LE(lowered.at(y, 7), level.at(y, 7));
  EXPECT_NEAR(0.5, lowered.at(69, 7), 0.03);
}

TEST(GraduatedFilter, ColourAndReverse) {
  const Json sunset = Json::parse(
      R"({"stops": 9, "stops_rgb": [0, 1, 3], "edge_frac": 0.1, "grad": "reverse", "reverse_far": 0.4})");
  const Image out = graduated(401, 301, sunset, Json::object());
  const auto stops = [&](int y, int k) { return -std::log2(out.at(y, 150, k)); };
  for (int y = 0; y < 401; ++y) {
    EXPECT_EQ(1.0f, out.at(y, 150, 0));
    EXPECT_NEAR(3.0 * stops(y, 1), stops(y, 2), 1e-5);
  }
  int densest = 0;
  for (int y = 0; y < 401; ++y)
    if (stops(y, 1) > stops(densest, 1)) densest = y;
  EXPECT_NEAR(200, densest, 0.1 * 200 + 2);  // within the transition
  EXPECT_NEAR(0.4, stops(0, 1), 0.01);       // thin at the far edge
  EXPECT_GT(stops(densest, 1), 0.85);
  EXPECT_NEAR(0.0, stops(400, 1), 1e-6);
  for (int y = 1; y < densest; ++y) EXPECT_GE(stops(y, 1), stops(y - 1, 1) - 1e-6);
}

TEST(GraduatedFilter, AbsurdNumbersStayNumbers) {
  const Json steep = Json::parse(R"({"stops": 1e300, "edge_frac": 0, "angle": 1e308})");
  const Image out = graduated(16, 16, steep, {{"grad_angle", 1e308}, {"grad_pos", 1e308}});
  for (const float value : out.data) EXPECT_TRUE(std::isfinite(value));
  const Image clear = graduated(16, 16, steep, {{"grad_pos", -1e308}});
  for (const float value : clear.data) EXPECT_EQ(1.0f, value);
}

TEST(Diffusion, HazeLiftsTheMeanAndHalvesItsCostInContrast) {
  const Json filter = Json::parse(R"({"haze": 0.1})");
  const Image picture = scene(33, 29);
  for (const double amount : {0.5, 1.0, 2.0}) {
    const Image out = diffuse(picture, diffusion_params(filter, amount, picture.w));
    const double haze = 0.1 * amount;
    double mean = 0.0;
    for (std::size_t i = 0; i < picture.pixels(); ++i)
      mean += 0.2126 * picture.data[3 * i] + 0.7152 * picture.data[3 * i + 1] +
              0.0722 * picture.data[3 * i + 2];
    mean /= static_cast<double>(picture.pixels());
    for (std::size_t i = 0; i < out.data.size(); ++i)
      EXPECT_NEAR(picture.data[i] * (1.0 - haze / 2.0) + mean * haze, out.data[i], 2e-6);
  }
  const Image grey = diffuse(Image(7, 7, 3, 0.5f), diffusion_params(filter, 1.0, 7));
  EXPECT_NEAR(0.5 * 1.05, grey.at(3, 3, 1), 1e-6);  // a flat picture brightens by z / 2
}

TEST(Diffusion, BloomAddsTheLightAboveTheThreshold) {
  const Json filter = Json::parse(R"({"bloom": 0.5, "radius_frac": 0.02, "threshold": 0.6})");
  Image lamp(121, 121, 3, 0.1f);
  lamp.at(60, 60, 0) = 100.6f;
  const Image out = diffuse(lamp, diffusion_params(filter, 1.0, 121));
  double added = 0.0;
  for (std::size_t i = 0; i < lamp.data.size(); ++i)
    added += static_cast<double>(out.data[i]) - static_cast<double>(lamp.data[i]);
  EXPECT_NEAR(50.0, added, 0.01);
  EXPECT_GT(out.at(60, 62, 0), 0.2f);
  EXPECT_EQ(0.1f, out.at(60, 62, 1));  // green has no light to spread
  EXPECT_EQ(0.1f, out.at(0, 0, 0));
  EXPECT_FALSE(diffusion_params(filter, 1e-5, 121).active);
  EXPECT_FALSE(diffusion_params(Json::object(), 1.0, 121).active);
  EXPECT_EQ(1.0, diffusion_params(filter, 1.0, 20).radius_px);
}

TEST(Diffusion, ABadSampleStaysAlone) {
  const Json filter = Json::parse(R"({"bloom": 0.4, "haze": 0.1})");
  Image picture = scene(24, 31);
  picture.at(3, 4, 1) = NAN;
  picture.at(9, 9, 0) = INFINITY;
  const Image out = diffuse(picture, diffusion_params(filter, 1.0, picture.w));
  for (std::size_t i = 0; i < out.data.size(); ++i)
    EXPECT_EQ(std::isfinite(picture.data[i]), std::isfinite(out.data[i])) << i;
}

}  // namespace
}  // namespace morva
