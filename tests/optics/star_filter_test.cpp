#include "optics/star_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>

#include "image/errors.h"
#include "optics/star_kernel.h"

namespace morva {
namespace {

double sum_of(const Image& image, std::int32_t k) {
  double sum = 0.0;
  for (std::size_t i = static_cast<std::size_t>(k); i < image.data.size(); i += 3)
    sum += image.data[i];
  return sum;
}

Image lamp(std::int32_t size, float level) {
  Image picture(size, size, 3, 0.05f);
  for (int k = 0; k < 3; ++k) picture.at(size / 2, size / 2, k) = level;
  return picture;
}

// The light of a channel at distance r from the lamp, to the right and on the diagonal.
double at_right(const Image& image, int r, int k = 1) {
  return image.at(image.h / 2, image.w / 2 + r, k) - 0.05;
}
double on_diagonal(const Image& image, int r) {
  const int d = static_cast<int>(std::lround(r / std::sqrt(2.0)));
  return image.at(image.h / 2 + d, image.w / 2 + d, 1) - 0.05;
}

TEST(StarFilter, MovesLightAndAddsNone) {
  const Image before = lamp(201, 20.8f);
  const Image after = apply_star_filter(before, Json::object(), 0.0);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(sum_of(after, k), sum_of(before, k), 0.02) << k;
  // 0.3 of the 20 above the threshold has left the lamp but for the centre of the figure.
  EXPECT_LT(after.at(100, 100, 1), 20.8f - 0.7f * 6.0f);
  EXPECT_GT(at_right(after, 10), 1e-3);
  EXPECT_LT(on_diagonal(after, 10), 1e-6);
}

TEST(StarFilter, RaysStandAtTheirNumberAndAngle) {
  const Image picture = lamp(201, 50.0f);
  const Image eight = apply_star_filter(picture, {{"rays", 8}}, 0.0);
  EXPECT_GT(at_right(eight, 10), 1e-3);
  EXPECT_GT(on_diagonal(eight, 10), 1e-3);
  const Image turned = apply_star_filter(picture, {{"rays", 4}, {"angle", 15}}, 30.0);
  EXPECT_LT(at_right(turned, 10), 1e-6);
  EXPECT_GT(on_diagonal(turned, 10), 1e-3);
  const Image one = apply_star_filter(picture, {{"rays", 1}}, 0.0);
  EXPECT_EQ(one.data, apply_star_filter(picture, {{"rays", 3.9}}, 0.0).data);
  EXPECT_EQ(one.data, apply_star_filter(picture, {{"rays", -8}}, 0.0).data);
  EXPECT_EQ(one.at(90, 100, 1), 0.05f);
}

TEST(StarFilter, RedReachesFurtherThanBlue) {
  const Image after = apply_star_filter(lamp(201, 50.0f), Json::object(), 0.0);
  // Green rays are 28 px long, red ones 32, blue ones 23.
  EXPECT_GT(at_right(after, 31, 0), 1e-4);
  EXPECT_EQ(at_right(after, 31, 1), static_cast<double>(0.05f) - 0.05);
  EXPECT_GT(at_right(after, 27, 1), 1e-4);
  EXPECT_EQ(at_right(after, 27, 2), static_cast<double>(0.05f) - 0.05);
  const Image grey = apply_star_filter(lamp(201, 50.0f), {{"dispersion", 0}}, 0.0);
  EXPECT_EQ(grey.at(100, 120, 0), grey.at(100, 120, 2));
}

TEST(StarFilter, PassesWhereThereIsNothingToDo) {
  Image dim(20, 20, 3, 0.8f);
  dim.at(1, 1) = -0.5f;
  EXPECT_EQ(apply_star_filter(dim, {{"strength", 1.0}}, 0.0).data, dim.data);
  Image bright(20, 20, 3, 2.0f);
  bright.at(1, 1) = -0.5f;
  EXPECT_EQ(apply_star_filter(bright, {{"strength", 1e-5}}, 0.0).data, bright.data);
  const Image red = apply_star_filter(bright, {{"tint", {1.0, 0.0, 0.0}}}, 0.0);
  EXPECT_EQ(red.at(10, 10, 1), 2.0f);
  EXPECT_NE(red.at(0, 0, 0), 2.0f);  // rays leave the picture at its corner
  EXPECT_EQ(red.at(1, 1, 1), 2.0f);
  EXPECT_GE(red.at(1, 1, 0), 0.0f);
}

TEST(StarFilter, WideRaysKeepTheirLightOnTheSmallerRaster) {
  const Image before = lamp(301, 100.8f);
  const Image after = apply_star_filter(before, {{"width_frac", 0.02}}, 0.0);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(sum_of(after, k), sum_of(before, k), 1.0) << k;
  EXPECT_GT(at_right(after, 20), 0.0);
}

TEST(StarFilter, SpoiledSamplesThrowNoRays) {
  Image picture = lamp(61, 20.0f);
  picture.at(5, 5, 0) = std::numeric_limits<float>::infinity();
  picture.at(9, 9, 1) = std::numeric_limits<float>::quiet_NaN();
  int spoiled = 0;
  for (const float v : apply_star_filter(picture, Json::object(), 0.0).data)
    spoiled += std::isfinite(v) ? 0 : 1;
  EXPECT_LE(spoiled, 2);
}

TEST(StarFilter, AbsurdProfilesFailCleanly) {
  const Image picture = lamp(21, 20.0f);
  const auto run = [&](const Json& filter, double angle = 0.0) {
    return apply_star_filter(picture, filter, angle);
  };
  EXPECT_THROW(run({{"length_frac", 1e9}}), std::bad_alloc);
  EXPECT_THROW(run({{"length_frac", 1e308}}), std::bad_alloc);
  EXPECT_THROW(run({{"rays", 1e18}}), ProfileError);
  EXPECT_THROW(run({{"tint", 1.0}}), Json::type_error);
  EXPECT_THROW(run({{"tint", Json::array()}}), ProfileError);
  for (const Json& filter :
       {Json{{"length_frac", -1e9}}, Json{{"width_frac", 1e300}}, Json{{"decay", -1.0}},
        Json{{"dispersion", -20.0}}, Json{{"angle", 1e300}}, Json{{"strength", 1e300}}})
    EXPECT_EQ(run(filter, -1e17).data.size(), picture.data.size());
  EXPECT_EQ(apply_star_filter(Image(1, 1, 3, 9.0f), Json::object(), 0.0).data.size(), 3u);
}

TEST(StarKernel, SumsToOneAndIsSymmetric) {
  for (const double angle : {0.0, 17.0, 90.0}) {
    const StarKernel kernel = star_kernel({40.3, 0.8, 3, angle, 0.3});
    double sum = 0.0;
    for (const double tap : kernel.taps) sum += tap;
    EXPECT_NEAR(sum, 1.0, 1e-12);
    ASSERT_EQ(kernel.radius, 40);
    for (std::size_t i = 0; i < kernel.taps.size(); ++i)
      ASSERT_EQ(kernel.taps[i], kernel.taps[kernel.taps.size() - 1 - i]) << angle << ": tap " << i;
  }
}

// The plain sum at one output, in the order of the kernel's rows.
double plain_sum(const Image& light, const StarKernel& kernel, int y, int x) {
  double sum = 0.0;
  for (const StarKernel::Run& run : kernel.runs)
    for (std::size_t i = 0; i < run.count; ++i) {
      const int sy = y + run.dy, sx = x + run.dx + static_cast<int>(i);
      if (sy >= 0 && sy < light.h && sx >= 0 && sx < light.w)
        sum += kernel.taps[run.first + i] * light.at(sy, sx);
    }
  return sum;
}

Image uneven_light(std::int32_t h, std::int32_t w) {
  Image light(h, w, 1);
  for (std::size_t i = 0; i < light.data.size(); ++i)
    light.data[i] = static_cast<float>((i * 7919) % 1013) * 0.003f + 0.001f;
  return light;
}

TEST(StarKernel, DirectSumHasTheBitsOfThePlainOne) {
  Image light = uneven_light(31, 47);
  for (std::size_t i = 0; i < light.data.size(); ++i)
    if (i % 3 != 0) light.data[i] = 0.0f;
  const StarKernel kernel = star_kernel({20.0, 1.1, 3, 11.0, 0.3});
  const Image spread = spread_by_star(light, kernel);
  for (int y = 0; y < light.h; ++y)
    for (int x = 0; x < light.w; ++x)
      ASSERT_EQ(spread.at(y, x), static_cast<float>(plain_sum(light, kernel, y, x)))
          << y << ", " << x;
}

TEST(StarKernel, TransformAgreesWithTheSum) {
  const Image light = uneven_light(120, 150);  // 18000 sources by some 300,000 taps
  const StarKernel kernel = star_kernel({317.0, 3.0, 2, 20.0, 0.32});
  ASSERT_GT(static_cast<double>(kernel.taps.size()) * 18000.0, 3e9);
  const Image spread = spread_by_star(light, kernel);
  double worst = 0.0;
  for (const auto& [y, x] :
       {std::pair{0, 0}, {0, 149}, {119, 0}, {119, 149}, {55, 75}, {13, 101}, {90, 20}})
    worst = std::max(worst, std::fabs(spread.at(y, x) / plain_sum(light, kernel, y, x) - 1.0));
  EXPECT_LE(worst, 5e-7);
}

}  // namespace
}  // namespace morva
