// The table: names, sizes, the shadow against one blurred as a raster, and surfaces that neither
// beat with the raster nor show a seam.

#include "finish/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <new>

#include "finish/cast_shadow.h"
#include "finish/linen.h"
#include "image/filters.h"
#include "image/pairwise_sum.h"
#include "input/failure_of.h"
#include "profiles/seeds.h"

namespace morva {
namespace {

Image on_table(const Json& opts, double edge_mm = 0.25, int h = 90, int w = 130) {
  Rng rng = seeded_rng(opts, kTableStream);
  return apply_table(Image(h, w, 3, 0.4f), opts, edge_mm, rng, nullptr);
}

std::vector<float> part_of(const Linen& linen, const SurfacePart& part) {
  std::vector<float> shade(part.columns() * static_cast<std::size_t>(part.y1 - part.y0));
  shade_linen(linen, part, shade.data());
  return shade;
}

double deviation(const std::vector<float>& values) {
  return standard_deviation(values.data(), values.size());
}

TEST(Table, NamesAndSizes) {
  for (const Json& name : {Json("none"), Json(nullptr), Json("")})
    EXPECT_EQ(90, on_table({{"table", name}}).h);
  const Image table = on_table({{"table", "white"}, {"table_width_cm", 0.55}});
  EXPECT_EQ(90 + 2 * 55, table.h);
  EXPECT_EQ(130 + 2 * 55, table.w);
  EXPECT_EQ(0.4f, table.at(55, 55, 2));
  EXPECT_EQ(on_table({{"table", "grey"}}).data, on_table({{"table", "walnut"}}).data);
  EXPECT_EQ("Стола «oak» нет. Есть: none, white, grey, black, linen", testing_files::failure_of([] {
              table_margin_px({{"table", "oak"}});
            }));
  for (const double width : {1e30, 200.0, std::nan("")})
    EXPECT_THROW(on_table({{"table", "linen"}, {"table_width_cm", width}}), std::bad_alloc);
  EXPECT_EQ(90, on_table({{"table", "linen"}, {"table_width_cm", -4.0}}).h);
  EXPECT_THROW(on_table({{"table", "linen"}}, 1e30), std::bad_alloc);
}

TEST(Table, ShadowIsTheBlurredSilhouetteAwayFromTheLight) {
  const SheetOnTable place = {31, 44, 40};
  const double px_per_mm = 7.0;
  const auto light = [](const CastShadow& shadow, int y) {
    std::vector<float> row(124);
    shadow.light_left(y, 0, 124, row.data());
    return row;
  };
  // Above 10 px the raster is blurred at a smaller size, which leaves it a little off the profiles.
  for (const auto& [edge_px, tolerance] : {std::pair{0.2, 2e-6}, {9.0, 2e-6}, {30.0, 8e-3}}) {
    const CastShadow profiles(place, edge_px, px_per_mm);
    const CastShadow raster(place, Image(31, 44, 1, 1.0f), edge_px, px_per_mm);
    for (int y = 0; y < 111; ++y) {
      const std::vector<float> share = light(profiles, y), expected = light(raster, y);
      for (std::size_t x = 0; x < 124; ++x)
        ASSERT_NEAR(expected[x], share[x], tolerance) << edge_px;
    }
  }
  // Darker to the right than to the left and darkest below; under the sheet both shadows are full.
  const CastShadow shadow(place, 2.5, px_per_mm);
  const std::vector<float> row = light(shadow, 55);
  const float below = light(shadow, 40 + 31 + 2)[62], above = light(shadow, 40 - 3)[62];
  EXPECT_NEAR(0.5 * 0.65, row[62], 1e-4);
  EXPECT_LT(row[40 + 44 + 2], row[40 - 3] - 0.1f);
  EXPECT_LT(below, row[40 + 44 + 2]);
  EXPECT_GT(above, row[40 - 3]);
  EXPECT_EQ(1.0f, row[0]);
}

TEST(Table, SilhouetteRoundsTheSheet) {
  Image silhouette(90, 130, 1, 1.0f);
  silhouette.at(0, 0) = 0.0f;
  silhouette.at(0, 1) = 0.5f;
  const Json opts = {{"table", "black"}, {"table_width_cm", 0.2}};
  Rng rng = seeded_rng(opts, kTableStream);
  const Image table = apply_table(Image(90, 130, 3, 0.4f), opts, 0.25, rng, &silhouette);
  EXPECT_LT(table.at(20, 20), 0.03f);
  EXPECT_NEAR(0.205, table.at(20, 21), 0.012);
  EXPECT_EQ(0.4f, table.at(20, 22));
}

TEST(Linen, ReadsTheSameInAnyPart) {
  Rng rng = rng_from_key({1, 2});
  const Linen linen = weave_linen(200, 150, 10.0, rng);
  const std::vector<float> whole = part_of(linen, {0, 200, 0, 150});
  const SurfacePart part = {37, 101, 63, 140};
  const std::vector<float> cut = part_of(linen, part);
  for (std::size_t y = 0; y < 64; ++y)
    for (std::size_t x = 0; x < part.columns(); ++x)
      ASSERT_EQ(whole[(y + 37) * 150 + x + 63], cut[y * part.columns() + x]);
}

// A weave finer than two pixels is gone from the columns' line; what is left is yarn and grain.
TEST(Linen, FadesToItsMeanBeforeItBeatsWithTheRaster) {
  double last_crown = 1.0;
  for (const double px_per_mm : {40.0, 10.0, 5.0, 3.0, 1.0, 0.2}) {
    Rng rng = rng_from_key({7});
    const Linen linen = weave_linen(64, 3000, px_per_mm, rng);
    const double crown = deviation(linen.warp.crown);
    EXPECT_LE(crown, last_crown) << px_per_mm;
    last_crown = crown;
    if (px_per_mm == 40.0) {
      EXPECT_NEAR(std::sqrt(0.5), crown, 0.03);
    }
    EXPECT_LT(crown, px_per_mm <= 3.0 ? 0.08 : px_per_mm <= 5.0 ? 0.25 : 1.0) << px_per_mm;
    const std::vector<float> shade = part_of(linen, {0, 64, 0, 3000});
    EXPECT_NEAR(1.0, mean_and_deviation(shade.data(), shade.size()).mean, 0.03) << px_per_mm;
  }
}

TEST(Surfaces, FineGrainHasItsStrengthAtAnyScale) {
  for (const double sigma : {0.4, 0.8, 3.0}) {
    std::vector<float> shade(400 * 400, 0.0f);
    add_fine_grain({{5}, 400, sigma}, {0, 400, 0, 400}, 0.02f, shade.data());
    EXPECT_NEAR(0.02, deviation(shade), 0.0012) << sigma;
  }
}

}  // namespace
}  // namespace morva
