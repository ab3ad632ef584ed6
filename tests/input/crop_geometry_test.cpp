// The crop tool's answers, asked through the C interface as a host asks them, and the pixels that
// cropping and straightening leave.

#include "input/crop_geometry.h"

#include "image/on_every_isa.h"
#include "input/failure_of.h"
#include "input/rotate_crop.h"
#include "morva.h"

namespace morva {
namespace {

using Four = std::array<double, 4>;

TEST(CropGeometry, WholePixelsOfACrop) {
  using Rect = std::array<int, 4>;
  const auto pixels_of = [](const Json& crop, PixelSize picture) {
    const PixelRect rect = crop_pixels(crop, picture);
    return Rect{rect.x0, rect.y0, rect.x1, rect.y1};
  };
  EXPECT_EQ((Rect{30, 100, 180, 150}), pixels_of({0.1, 0.5, 0.5, 0.25}, {300, 200}));
  EXPECT_EQ((Rect{2, 0, 8, 1}), pixels_of({0.25, 0, 0.5, 1}, {10, 1}));  // halves to even
  EXPECT_EQ((Rect{9, 6, 10, 7}), pixels_of({5, 1e300, -1, 1e300}, {10, 7}));
  EXPECT_EQ((Rect{0, 0, 1, 7}), pixels_of({-1e300, "-2", 1e299, "4"}, {10, 7}));
  for (const Json& bad : {Json({0, 0, 1}), Json({0, 0, 1, 1, 1}), Json("0,0,1,1"), Json::object()})
    EXPECT_EQ("crop — четыре доли (x, y, w, h)", testing_files::failure_of([&] {
                crop_pixels(bad, {9, 9});
              }));
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
  for (const Four& crop : {Four{0.3, 0.3, 0.2, 0.3}, {0.1, 0.2, 0.7, 0.05}, {0.5, 0.5, 0.3, 0.4}})
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

TEST(CropGeometry, ACropKeepsItsLeastSizeAndItsRoom) {
  const Four crop = {0.4, 0.4, 0.2, 0.1}, edge = {0.9, 0.0, 0.1, 0.1}, right = {0.6, 0.1, 0.2, 0.2};
  Four out;
  morva_crop_scale(crop.data(), 1, 0.01, 1000, 1000, 50, out.data());
  EXPECT_NEAR(0.05, out[3], 1e-12);
  EXPECT_NEAR(0.45, out[0], 1e-12);
  const auto fit = [&](double angle, int grows, const double* wanted) {
    morva_crop_fit_to_angle(crop.data(), 1, angle, 1000, 1000, grows, wanted, out.data());
  };
  fit(10.0, 0, nullptr);
  EXPECT_NEAR(0.2, out[2], 1e-12);
  fit(10.0, 1, nullptr);
  EXPECT_NEAR(1.0, morva_crop_max_scale(out.data(), 1, 10.0, 1000, 1000), 1e-9);
  fit(45.0, 0, edge.data());
  EXPECT_NEAR(0.064, out[3], 1e-12);
  EXPECT_NEAR(0.95, out[0] + out[2] / 2, 1e-12);
  // Expanded, it is moved back in from the right.
  for (const auto& [aspect, angle] :
       {std::pair{1.0, 0.0}, {3.0, 0.0}, {1.25, -8.0}, {1.25, 2.0}, {1.25, 70.0}}) {
    morva_crop_expand(right.data(), 1, 900, 600, aspect, angle, out.data());
    EXPECT_NEAR(aspect, (out[2] * 900) / (out[3] * 600), 1e-9);
    if (angle == 0.0) {
      EXPECT_EQ(1.0, out[aspect == 1.0 ? 3 : 2]);
      EXPECT_NEAR(aspect == 1.0 ? 1.0 / 3.0 : 0.0, out[0], 1e-12);
    } else {
      EXPECT_NEAR(1.0, morva_crop_max_scale(out.data(), 1, angle, 900, 600), 1e-9);
      EXPECT_NEAR(0.7, out[0] + out[2] / 2, 1e-12);
    }
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
  for (const double y : {5.0, -5.0}) EXPECT_EQ(-45.0, morva_straighten_angle(0.0, 0.0, 5.0, y));
}

// The definition, a sample at a time in double.
double cubic_at(const Image& image, double x, double y, int k) {
  const auto weight = [](double d) {
    d = std::fabs(d);
    return d <= 1.0  ? 1.5 * d * d * d - 2.5 * d * d + 1.0
           : d < 2.0 ? -0.5 * d * d * d + 2.5 * d * d - 4.0 * d + 2.0
                     : 0.0;
  };
  double sum = 0.0;
  for (int i = static_cast<int>(std::floor(y)) - 2; i <= std::floor(y) + 3; ++i)
    for (int j = static_cast<int>(std::floor(x)) - 2; j <= std::floor(x) + 3; ++j)
      sum += weight(i + 0.5 - y) * weight(j + 0.5 - x) *
             image.at(std::clamp(i, 0, image.h - 1), std::clamp(j, 0, image.w - 1), k);
  return sum;
}

TEST(RotateCrop, FollowsTheCubicAtEverySizeAndChannelCount) {
  for (const auto& [h, w] : {std::pair{1, 1}, {1, 9}, {7, 1}, {3, 4}, {5, 5}, {37, 131}, {150, 67}})
    for (int c = 1; c <= 4; ++c)
      for (const double angle : {0.3, -7.0, 45.0, 90.0, 200.0}) {
        const Image image = random_image(h, w, c);
        const Image turned = rotate_crop_input(image, Json(), angle);
        expect_same_on_every_isa([&] { return rotate_crop_input(image, Json(), angle); });
        double worst = 0.0;
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x)
            for (int k = 0; k < c; ++k) {
              double at[2];
              morva_rot_offsets(x + 0.5 - w / 2.0, y + 0.5 - h / 2.0, angle, at);
              const double want = cubic_at(image, at[0] + w / 2.0, at[1] + h / 2.0, k);
              worst = std::max(worst, std::fabs(turned.at(y, x, k) - want));
            }
        EXPECT_LT(worst, 4e-6) << h << " x " << w << " x " << c << " at " << angle;
      }
}

TEST(RotateCrop, ACropIsAPartOfTheTurnedPicture) {
  const Image image = random_image(60, 90, 3);
  for (const double angle : {0.0, -12.0}) {
    const Image whole = rotate_crop_input(image, Json(), angle);
    const Image part = rotate_crop_input(image, {0.2, 0.1, 0.5, 0.6}, angle);
    ASSERT_EQ(45 * 36 * 3u, part.data.size());
    for (int y = 0; y < 36; ++y)
      for (int x = 0; x < 45; ++x) ASSERT_EQ(whole.at(y + 6, x + 18, 1), part.at(y, x, 1)) << angle;
    EXPECT_EQ(1, rotate_crop_input(image, {0.5, 0, 0, 1}, angle).w);
  }
  EXPECT_EQ(6, rotate_crop_input(random_image(4, 4, 6), {0, 0, 0.5, 1}, 0.0).c);
  EXPECT_EQ("rotate_crop_input: не больше 4 каналов",
            testing_files::failure_of([] { rotate_crop_input(Image(4, 4, 6), Json(), 1.0); }));
  // A picture that nothing is done to is not copied: its samples stay where they are.
  Image kept = image;
  const float* samples = kept.data.data();
  EXPECT_EQ(samples, rotate_crop_input(std::move(kept), {0, 0, 1, 1}, 0.0).data.data());
}

}  // namespace
}  // namespace morva
