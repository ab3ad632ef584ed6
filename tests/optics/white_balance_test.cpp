#include "optics/white_balance.h"

#include <gtest/gtest.h>

#include <cmath>

#include "image/planck.h"

namespace morva {
namespace {

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

TEST(WhiteBalance, TintMovesGreenAgainstRedAndBlueAlone) {
  const Image grey = balanced_grey(Json::object(), {{"wb_tint", 100.0}});
  EXPECT_NEAR(grey.data[1] / grey.data[0], std::pow(10.0, -0.06), 1e-6);
  EXPECT_FLOAT_EQ(grey.data[0], grey.data[2]);
}

TEST(WhiteBalance, AHundredMiredBelowDaylight) {
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
