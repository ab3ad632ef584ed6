// The relief of a paper under light from one side.

#include "repro/print_surface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "image/errors.h"
#include "print/pictures.h"

namespace morva {
namespace {

// The light on an even grey sheet, against the grey.
Image light_on(const char* block, double px_um, int w, int h) {
  Rng rng = rng_from_key({7, 3, 0});
  const Image sheet = repro_surface(Image(h, w, 3, 0.5f), {{"surface", Json::parse(block)}},
                                    Json::object(), px_um, rng);
  Image light = extract_channel(sheet, 0);
  for (float& v : light.data) v = v * 2.0f - 1.0f;
  return light;
}

TEST(PrintSurface, TheSideOfAHillThatFacesTheLampIsLit) {
  Rng rng = rng_from_key({7, 3, 0});
  const Image hills = band_field(120, 160, 0.35 * 8.0, 8.0, rng);
  // How well the light goes with the rise of the hills to the right and down, -1..1.
  const auto lit_rises = [&](const char* block) {
    const Image light = light_on(block, 50.0, hills.w, hills.h);
    Image right(hills.h - 2, hills.w - 2, 1), below = right, lit = right;
    for (int y = 0; y < lit.h; ++y)
      for (int x = 0; x < lit.w; ++x) {
        lit.at(y, x) = light.at(y + 1, x + 1);
        right.at(y, x) = hills.at(y + 1, x + 2) - hills.at(y + 1, x);
        below.at(y, x) = hills.at(y + 2, x + 1) - hills.at(y, x + 1);
      }
    return std::pair(correlation(lit, right), correlation(lit, below));
  };
  EXPECT_GT(lit_rises(R"({"amount": 0.1, "cell_um": 400, "light": [-1, 0]})").first, 0.95);
  EXPECT_LT(lit_rises(R"({"amount": 0.1, "cell_um": 400, "light": [0, 1, 5]})").second, -0.95);
  // From above left where no direction is told.
  const auto [across, down] = lit_rises(R"({"amount": 0.1, "cell_um": 400, "light": [1]})");
  EXPECT_GT(across, 0.6);
  EXPECT_GT(down, 0.6);
}

TEST(PrintSurface, ReliefHasItsSizeOnTheSheetAndItsLightIsEven) {
  for (const double px_um : {100.0, 50.0, 12.5}) {
    const Image light = light_on(R"({"amount": 0.1, "cell_um": 400})", px_um, 600, 600);
    int turns = 0;  // from light to shade and back
    for (int y = 0; y < light.h; ++y)
      for (int x = 1; x < light.w; ++x)
        turns += (light.at(y, x) > 0.0f) != (light.at(y, x - 1) > 0.0f);
    // Rice's count of zero crossings from the relief's spectrum: 2.35 a mm.
    EXPECT_NEAR(turns / (600.0 * 0.6 * px_um), 2.35, 0.4) << px_um << " um a pixel";
    EXPECT_NEAR(mean(light), 0.0, 1e-6);
    EXPECT_NEAR(spread(light), 0.1 * 0.55, 0.004);  // tanh of a normal deviate of 0.8
  }
}

TEST(PrintSurface, AnySheetAndAnyNumberGiveAPrint) {
  for (const char* block :
       {R"({"amount": 1e300, "cell_um": 1e300, "light": [1e300, -1e300]})",
        R"({"amount": 1e30, "cell_um": -5, "light": [0, 0]})", R"({"amount": 0.3})"})
    for (const auto& [w, h] : {std::pair(1, 1), {1, 2}, {1, 37}, {2, 1}, {37, 1}})
      for (const double px_um : {1e-300, 0.1, HUGE_VAL})
        for (const float v : light_on(block, px_um, w, h).data)
          ASSERT_TRUE(v >= -1.0f && v <= 1.0f) << block << v;
  EXPECT_GT(spread(light_on(R"({"amount": 0.3})", 60.0, 40, 1)), 0.1);
  EXPECT_EQ(light_on(R"({"amount": 0.3})", 60.0, 1, 1).data[0], 0.0f);
  EXPECT_THROW(light_on(R"({"amount": 1, "light": ["up", 1]})", 60.0, 9, 9), OptionsError);
}

}  // namespace
}  // namespace morva
