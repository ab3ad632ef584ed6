#include "image/planck.h"

#include <gtest/gtest.h>

namespace morva {
namespace {

struct Chromaticity {
  double x, y;
};

Chromaticity chromaticity(const std::array<float, 3>& rgb) {
  const double X = 0.4124 * rgb[0] + 0.3576 * rgb[1] + 0.1805 * rgb[2];
  const double Y = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
  const double Z = 0.0193 * rgb[0] + 0.1192 * rgb[1] + 0.9505 * rgb[2];
  return {X / (X + Y + Z), Y / (X + Y + Z)};
}

TEST(Planck, FollowsTheLocusAtKnownTemperatures) {
  // CIE 1931 chromaticities of black bodies; the splines stay within some 1e-3 of them.
  struct Known {
    double kelvin, x, y;
  };
  for (const Known& k : {Known{2000, 0.5267, 0.4133},
                         {2856, 0.4475, 0.4075},
                         {3200, 0.4234, 0.3990},
                         {5000, 0.3451, 0.3516},
                         {6500, 0.3135, 0.3237},
                         {10000, 0.2807, 0.2884},
                         {20000, 0.2565, 0.2577}}) {
    const auto rgb = planck_rgb(k.kelvin);
    const Chromaticity c = chromaticity(rgb);
    // Below about 1900 K blue leaves the gamut; these temperatures are all inside.
    EXPECT_NEAR(c.x, k.x, 2e-3) << k.kelvin;
    EXPECT_NEAR(c.y, k.y, 2e-3) << k.kelvin;
    EXPECT_NEAR(0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2], 1.0, 1e-3) << k.kelvin;
  }
}

TEST(Planck, ColoursOfLampsAndDaylight) {
  struct Known {
    double kelvin;
    double rgb[3];
  };
  for (const Known& known : {Known{2000, {2.522298, 0.646485, 0.020049}},
                             {3200, {1.677065, 0.866862, 0.325829}},
                             {5500, {1.143176, 0.971372, 0.862601}},
                             {6500, {1.042633, 0.983863, 1.034905}}})
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(planck_rgb(known.kelvin)[k], known.rgb[k], 1e-5) << known.kelvin;
}

TEST(Planck, BranchesMeetAndTheRangeIsHeld) {
  for (const double joint : {2222.0, 4000.0})
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(planck_rgb(joint)[k], planck_rgb(joint + 1e-6)[k], 2e-3) << joint;
  EXPECT_EQ(planck_rgb(100.0), planck_rgb(1667.0));
  EXPECT_EQ(planck_rgb(1e9), planck_rgb(25000.0));
  EXPECT_EQ(planck_rgb(1667.0)[2], 1e-6f);
}

TEST(Planck, GainsHoldTheLuminanceOfANeutral) {
  for (const auto& [scene, film] :
       {std::pair{5500.0, 3200.0}, {3200.0, 5500.0}, {1667.0, 25000.0}}) {
    const auto g = temperature_gains(scene, film);
    EXPECT_NEAR(0.2126 * g[0] + 0.7152 * g[1] + 0.0722 * g[2], 1.0, 1e-6);
    EXPECT_EQ(g[2] > g[0], scene > film);  // light hotter than the balance looks blue
  }
}

}  // namespace
}  // namespace morva
