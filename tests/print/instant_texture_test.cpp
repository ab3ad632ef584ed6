// Marks of instant film: the order they are drawn in, the mean they leave alone, and their place on
// the sheet whatever the raster.

#include "print/instant_texture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "image/pairwise_sum.h"
#include "image/resample.h"
#include "print/dot_screen.h"
#include "print/peel_texture.h"

namespace morva {
namespace {

double mean(const Image& image) {
  return mean_and_deviation(image.data.data(), image.data.size()).mean;
}

TEST(InstantTexture, StreaksOfATallPictureLeaveItsMean) {
  for (const int w : {100, 10, 1}) {
    Rng rng = rng_from_key({4, 5});
    const Json film = {{"texture", {{"streaks_amp", 0.006}}}};
    const Image tall =
        add_instant_texture(Image(3000, w, 1, 0.7f), instant_texture(film, 1.0, 3000, w), rng);
    EXPECT_NEAR(0.7, mean(tall), 0.001) << w;
    for (const float v : tall.data) ASSERT_NEAR(0.7, v, 0.05) << w;
  }
}

double correlation(const Image& a, const Image& b) {
  const double ma = mean(a), mb = mean(b);
  double ab = 0, aa = 0, bb = 0;
  for (std::size_t i = 0; i < a.data.size(); ++i) {
    const double da = a.data[i] - ma, db = b.data[i] - mb;
    ab += da * db, aa += da * da, bb += db * db;
  }
  return ab / std::sqrt(aa * bb);
}

// 237.5 mm are no whole number of any round step, and a raster's rounding must not decide.
TEST(PeelTexture, TheLargestSheetHasOnePatternAtEveryRaster) {
  const Json film = Json::parse(R"({"frame": {"sizes": ["8x10"]}, "_peel_size": "8x10",
    "_peel_seed": [1, 1, 0, 29], "texture": {"chatter": {"amp": 0.02, "along_mm": 12,
    "across_mm": 30, "iso_share": 0.2, "iso_mm": 14, "coarse_share": 0.2, "coarse_along_mm": 20,
    "coarse_across_mm": 40, "cluster_mod": 0.3, "cluster_mm": 25}}})");
  const auto bands = [&](int h, int w) {
    return add_peel_texture(Image(h, w, 1, 1.0f), film, Json::object(), 237500.0 / h, 1.0);
  };
  const Image coarse = bands(200, 160);
  for (const auto& [h, w] : {std::pair(203, 162), {51, 41}, {640, 512}}) {
    const Image same_size = pil_resize(bands(h, w), 160, 200, kResizeTriangle);
    EXPECT_GT(correlation(coarse, same_size), 0.97) << h;
  }
}

// Strength of the wave of a period of `period_mm` along one axis, the other summed.
double line_strength(const Image& d, double mm_per_px, double period_mm, bool down) {
  double re = 0.0, im = 0.0;
  for (int y = 0; y < d.h; ++y)
    for (int x = 0; x < d.w; ++x) {
      const double phase = 2.0 * std::numbers::pi * (down ? y : x) * mm_per_px / period_mm;
      re += d.at(y, x) * std::cos(phase);
      im += d.at(y, x) * std::sin(phase);
    }
  return std::hypot(re, im) / static_cast<double>(d.pixels());
}

TEST(DotScreen, RowsAcrossThePullAndTheDotsPitchAlongThem) {
  Json film = {{"texture", {{"dot_screen", {{"amp", 0.04}, {"grain", 0}, {"jitter_mm", 0}}}}}};
  const auto screen = [&](double mm_per_px) {
    Image d(288, 216, 1, 0.0f);
    Rng rng = rng_from_key({6});
    add_dot_screen(d, pulled_sheet(d, 1000.0 * mm_per_px, nullptr), dot_screen(film, 1.0), rng);
    return d;
  };
  // Every other row is half a pitch aside: summed over all, the dots' second harmonic remains.
  const Image d = screen(0.05);
  for (const double off : {0.8, 1.25}) {
    EXPECT_GT(line_strength(d, 0.05, 0.72, true), 5.0 * line_strength(d, 0.05, 0.72 * off, true));
    EXPECT_GT(line_strength(d, 0.05, 0.18, false), 5.0 * line_strength(d, 0.05, 0.18 * off, false));
  }

  // At four pixels a row and two a dot the rows are whole and the dots gone.
  film["texture"]["dot_screen"]["mod"] = 0;
  const Image coarse = screen(0.18);
  EXPECT_EQ(coarse.at(5, 3), coarse.at(5, 100));
  EXPECT_GT(line_strength(coarse, 0.18, 0.72, true), 0.005);
  EXPECT_EQ(Image(288, 216, 1, 0.0f).data, screen(0.5).data);
}

}  // namespace
}  // namespace morva
