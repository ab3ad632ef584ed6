// The crop tool's answers, asked through the C interface as a host asks them.

#include "input/crop_geometry.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "input/failure_of.h"
#include "morva.h"

namespace morva {
namespace {

using testing_files::failure_of;

using Four = std::array<double, 4>;

std::array<int, 4> pixels_of(const Json& crop, PixelSize picture) {
  const PixelRect rect = crop_pixels(crop, picture);
  return {rect.x0, rect.y0, rect.x1, rect.y1};
}

TEST(CropGeometry, WholePixelsOfACrop) {
  using Rect = std::array<int, 4>;
  EXPECT_EQ((Rect{30, 100, 180, 150}), pixels_of({0.1, 0.5, 0.5, 0.25}, {300, 200}));
  EXPECT_EQ((Rect{2, 0, 8, 1}), pixels_of({0.25, 0, 0.5, 1}, {10, 1}));  // halves to even
  EXPECT_EQ((Rect{9, 6, 10, 7}), pixels_of({5, 1e300, -1, 1e300}, {10, 7}));
  EXPECT_EQ((Rect{0, 0, 1, 7}), pixels_of({-1e300, "-2", 1e299, "4"}, {10, 7}));
  for (const Json& bad : {Json({0, 0, 1}), Json({0, 0, 1, 1, 1}), Json("0,0,1,1"), Json::object()})
    EXPECT_EQ("crop — четыре доли (x, y, w, h)", failure_of([&] { crop_pixels(bad, {9, 9}); }));
}

TEST(CropGeometry, CornersTurnAboutThePicturesCentre) {
  const Four crop = {0.25, 0.5, 0.5, 0.25};
  std::array<double, 8> corner;
  ASSERT_EQ(0, morva_crop_corners(crop.data(), 0.0, 400, 200, corner.data()));
  EXPECT_EQ((std::array<double, 8>{100, 100, 300, 100, 300, 150, 100, 150}), corner);
  // A quarter turn: what was above the centre lies to its right.
  ASSERT_EQ(0, morva_crop_corners(crop.data(), -90.0, 400, 200, corner.data()));
  const double turned[] = {200, 0, 200, 200, 150, 200, 150, 0};
  for (int i = 0; i < 8; ++i) EXPECT_NEAR(turned[i], corner[i], 1e-9) << i;
}

TEST(CropGeometry, TheLargestScaleJustFits) {
  const Four crops[] = {{0.3, 0.3, 0.2, 0.3}, {0.1, 0.2, 0.7, 0.05}, {0.5, 0.5, 0.3, 0.4}};
  for (const Four& crop : crops)
    for (const double angle : {0.0, 3.0, -17.5, 45.0, 89.0, 180.0}) {
      const double room = morva_crop_max_scale(crop.data(), 1, angle, 900, 600);
      Four fitted, grown;
      morva_crop_scale(crop.data(), 1, room, 900, 600, 0, fitted.data());
      morva_crop_scale(crop.data(), 1, room * 1.001, 900, 600, 0, grown.data());
      EXPECT_TRUE(morva_crop_fits(fitted.data(), 1, angle, 900, 600, 1e-6)) << angle;
      EXPECT_FALSE(morva_crop_fits(grown.data(), 1, angle, 900, 600, 1e-6)) << angle;
      EXPECT_NEAR(crop[0] + crop[2] / 2, grown[0] + grown[2] / 2, 1e-12);
      EXPECT_NEAR(crop[2] / crop[3], grown[2] / grown[3], 1e-9);
    }
  // The whole picture turned by 45 degrees: the diagonal of its long and short side against the
  // short side.
  EXPECT_NEAR(600 / ((900 + 600) * std::sqrt(0.5)),
              morva_crop_max_scale(nullptr, 0, 45.0, 900, 600), 1e-12);
  const Four outside = {1.5, 0.0, 0.2, 0.2}, point = {0.5, 0.5, 0.0, 0.0};
  EXPECT_EQ(0.0, morva_crop_max_scale(outside.data(), 1, 0.0, 900, 600));
  EXPECT_EQ(1.0, morva_crop_max_scale(point.data(), 1, 0.0, 900, 600));
  EXPECT_TRUE(morva_crop_fits(nullptr, 1, 0.1, 900, 600, 1.0));
  EXPECT_FALSE(morva_crop_fits(nullptr, 1, 0.1, 900, 600, 0.5));
}

TEST(CropGeometry, ACropKeepsItsLeastSize) {
  const Four crop = {0.4, 0.4, 0.2, 0.1}, edge = {0.9, 0.0, 0.1, 0.1};
  Four out;
  morva_crop_scale(crop.data(), 1, 0.01, 1000, 1000, 50, out.data());
  EXPECT_NEAR(0.05, out[3], 1e-12);
  EXPECT_NEAR(0.45, out[0], 1e-12);
  morva_crop_fit_to_angle(crop.data(), 1, 10.0, 1000, 1000, 0, nullptr, out.data());
  EXPECT_NEAR(0.2, out[2], 1e-12);
  morva_crop_fit_to_angle(crop.data(), 1, 10.0, 1000, 1000, 1, nullptr, out.data());
  EXPECT_NEAR(1.0, morva_crop_max_scale(out.data(), 1, 10.0, 1000, 1000), 1e-9);
  morva_crop_fit_to_angle(crop.data(), 1, 45.0, 1000, 1000, 0, edge.data(), out.data());
  EXPECT_NEAR(0.064, out[3], 1e-12);
  EXPECT_NEAR(0.95, out[0] + out[2] / 2, 1e-12);
}

TEST(CropGeometry, ExpandingTakesAllTheRoom) {
  const Four crop = {0.6, 0.1, 0.2, 0.2};
  const auto expanded = [&](double aspect, double angle) {
    Four out;
    morva_crop_expand(crop.data(), 1, 900, 600, aspect, angle, out.data());
    EXPECT_NEAR(aspect, (out[2] * 900) / (out[3] * 600), 1e-9);
    return out;
  };
  const Four tall = expanded(1.0, 0.0), wide = expanded(3.0, 0.0);
  EXPECT_EQ(1.0, tall[3]);
  EXPECT_NEAR(1.0 / 3.0, tall[0], 1e-12);  // moved back in from the right
  EXPECT_EQ(1.0, wide[2]);
  EXPECT_EQ(0.0, wide[1]);
  for (const double angle : {-8.0, 2.0, 70.0}) {
    const Four turned = expanded(1.25, angle);
    EXPECT_NEAR(1.0, morva_crop_max_scale(turned.data(), 1, angle, 900, 600), 1e-9);
    EXPECT_NEAR(0.7, turned[0] + turned[2] / 2, 1e-12);
  }
}

TEST(CropGeometry, StraighteningTakesTheNearestAxis) {
  for (const auto& [line, answer] :
       {std::pair{89.0, 1.0}, {91.0, -1.0}, {-177.0, -3.0}, {-44.0, 44.0}, {-136.0, -44.0}}) {
    const double radians = line * std::acos(-1.0) / 180.0;
    EXPECT_NEAR(answer,
                morva_straighten_angle(1.0, 2.0, 1.0 + std::cos(radians), 2.0 + std::sin(radians)),
                1e-9);
  }
  EXPECT_EQ(0.0, morva_straighten_angle(3.0, 7.0, 3.0, 7.0));
  EXPECT_EQ(-45.0, morva_straighten_angle(0.0, 0.0, 5.0, 5.0));
  EXPECT_EQ(-45.0, morva_straighten_angle(0.0, 0.0, 5.0, -5.0));
}

}  // namespace
}  // namespace morva
