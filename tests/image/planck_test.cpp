// Black-body light against published chromaticities of the Planck locus.

#include "image/planck.h"

#include <gtest/gtest.h>

#include <cmath>

#include "image/image.h"

namespace morva {
namespace {

struct Xy {
  double x;
  double y;
};

// Linear Rec. 709 back to CIE 1931 chromaticity.
Xy chromaticity(const std::array<float, 3>& rgb) {
  const double X = 0.4124 * rgb[0] + 0.3576 * rgb[1] + 0.1805 * rgb[2];
  const double Y = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
  const double Z = 0.0193 * rgb[0] + 0.1192 * rgb[1] + 0.9505 * rgb[2];
  return {X / (X + Y + Z), Y / (X + Y + Z)};
}

double luminance(const std::array<float, 3>& rgb) {
  return static_cast<double>(kLumaR) * rgb[0] + static_cast<double>(kLumaG) * rgb[1] +
         static_cast<double>(kLumaB) * rgb[2];
}

TEST(Planck, LocusPassesThePublishedPoints) {
  struct Point {
    double kelvin;
    Xy xy;
  };
  const Point points[] = {{2222.0, {0.5030, 0.4152}}, {2856.0, {0.4476, 0.4074}},
                          {4000.0, {0.3805, 0.3768}}, {5000.0, {0.3451, 0.3516}},
                          {6500.0, {0.3135, 0.3237}}, {10000.0, {0.2807, 0.2884}}};
  for (const Point& point : points) {
    const std::array<float, 3> rgb = planck_rgb(point.kelvin);
    const Xy xy = chromaticity(rgb);
    EXPECT_NEAR(point.xy.x, xy.x, 1e-3) << point.kelvin;
    EXPECT_NEAR(point.xy.y, xy.y, 1e-3) << point.kelvin;
    EXPECT_NEAR(1.0, luminance(rgb), 2e-3) << point.kelvin;
  }
}

TEST(Planck, JoinsItsPiecesAndHoldsItsEnds) {
  for (const double joint : {2222.0, 4000.0}) {
    const std::array<float, 3> below = planck_rgb(joint), above = planck_rgb(joint + 1e-6);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(below[k], above[k], 5e-3) << joint;
  }
  for (const double cold : {1667.0, 1000.0, 0.0, -5.0, -INFINITY})
    EXPECT_EQ(planck_rgb(1667.0), planck_rgb(cold));
  for (const double hot : {25000.0, 1e9, static_cast<double>(INFINITY)})
    EXPECT_EQ(planck_rgb(25000.0), planck_rgb(hot));
  EXPECT_EQ(1e-6f, planck_rgb(1667.0)[2]);  // a candle has no blue inside this gamut
  float redness = INFINITY;
  for (double kelvin = 1667.0; kelvin <= 25000.0; kelvin *= 1.05) {
    const std::array<float, 3> rgb = planck_rgb(kelvin);
    EXPECT_LT(rgb[0] / rgb[1], redness);
    redness = rgb[0] / rgb[1];
  }
}

TEST(Planck, GainsKeepTheLuminanceOfANeutral) {
  for (const double scene : {1800.0, 3200.0, 5500.0, 9000.0}) {
    for (const double film : {3200.0, 5500.0, 7500.0}) {
      const std::array<float, 3> gains = temperature_gains(scene, film);
      EXPECT_NEAR(1.0, luminance(gains), 1e-6);
      if (scene > film) EXPECT_GT(gains[2], gains[0]);  // daylight is blue on tungsten film
      if (scene < film) EXPECT_LT(gains[2], gains[0]);
    }
  }
  for (const float gain : temperature_gains(3200.0, 3200.0)) EXPECT_NEAR(1.0, gain, 1e-7);
}

}  // namespace
}  // namespace morva
