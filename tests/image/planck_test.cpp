#include "image/planck.h"

#include <gtest/gtest.h>

namespace morva {
namespace {

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
    const double X = 0.4124 * rgb[0] + 0.3576 * rgb[1] + 0.1805 * rgb[2];
    const double Y = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
    const double Z = 0.0193 * rgb[0] + 0.1192 * rgb[1] + 0.9505 * rgb[2];
    // Below about 1900 K blue leaves the gamut; these temperatures are all inside.
    EXPECT_NEAR(X / (X + Y + Z), k.x, 2e-3) << k.kelvin;
    EXPECT_NEAR(Y / (X + Y + Z), k.y, 2e-3) << k.kelvin;
    EXPECT_NEAR(Y, 1.0, 1e-3) << k.kelvin;
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

}  // namespace
}  // namespace morva
