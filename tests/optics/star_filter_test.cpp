#include "optics/star_filter.h"

#include <new>
#include <numbers>
#include <numeric>

#include "image/convolution.h"
#include "image/on_every_isa.h"
#include "optics/star_kernel.h"

namespace morva {
namespace {

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
  for (int k = 0; k < 3; ++k)
    EXPECT_NEAR(mean_of(extract_channel(after, k)), mean_of(extract_channel(before, k)),
                0.02 / (201 * 201));
  // 0.3 of the 20 above the threshold has left the lamp but for the centre of the figure.
  EXPECT_LT(after.at(100, 100, 1), 20.8f - 0.7f * 6.0f);
  EXPECT_GT(at_right(after, 10), 1e-3);
  EXPECT_LT(on_diagonal(after, 10), 1e-6);
}

TEST(StarFilter, RaysHaveTheirNumberAngleAndColours) {
  const Image picture = lamp(201, 50.0f);
  const Image eight = apply_star_filter(picture, {{"rays", 8}}, 0.0);
  EXPECT_GT(std::min(at_right(eight, 10), on_diagonal(eight, 10)), 1e-3);
  const Image turned = apply_star_filter(picture, {{"rays", 4}, {"angle", 15}}, 30.0);
  EXPECT_LT(at_right(turned, 10), 1e-6);
  EXPECT_GT(on_diagonal(turned, 10), 1e-3);
  EXPECT_EQ(apply_star_filter(picture, {{"rays", 1}}, 0.0).data,
            apply_star_filter(picture, {{"rays", 3.9}}, 0.0).data);
  // Green rays are 28 px long, red ones 32, blue ones 23.
  const Image after = apply_star_filter(picture, Json::object(), 0.0);
  for (const auto& [r, longer] : {std::pair{31, 0}, {27, 1}}) {
    EXPECT_GT(at_right(after, r, longer), 1e-4);
    EXPECT_EQ(after.at(100, 100 + r, longer + 1), 0.05f);
  }
}

TEST(StarFilter, AbsurdProfilesFailCleanly) {
  const auto run = [](const Json& filter) {
    return apply_star_filter(lamp(21, 20.0f), filter, -1e17);
  };
  EXPECT_THROW(run({{"length_frac", 1e308}}), std::bad_alloc);
  EXPECT_EQ(run({{"rays", 1e18}}).data, run({{"rays", 200}}).data);
  for (const Json& filter :
       {Json{{"length_frac", -1e9}}, Json{{"width_frac", 1e300}}, Json{{"decay", -1.0}},
        Json{{"dispersion", -20.0}}, Json{{"angle", 1e300}},
        Json{{"strength", 1e300}, {"tint", {1e300, 1e-295, 1.0}}}})
    for (const float sample : run(filter).data) EXPECT_GE(sample, 0.0f) << filter;
  EXPECT_EQ(apply_star_filter(Image(1, 1, 3, 9.0f), Json::object(), 0.0).data.size(), 3u);
}

// Against the figure's definition, entry by entry.
TEST(StarKernel, IsTheGaussianAcrossAndTheExponentialAlong) {
  const StarShape shapes[] = {{12.3, 0.8, 1, 0.0, 0.3},
                              {12.3, 0.6, 1, 17.0, 0.32},
                              {11.6, 2.5, 3, 17.0, 0.5},
                              {3.0, 3.0, 3, 0.0, 0.32}};
  for (const StarShape& shape : shapes) {
    const StarKernel kernel = star_kernel(shape);
    const int radius = kernel.radius, side = 2 * radius + 1;
    std::vector<double> plain(static_cast<std::size_t>(side) * side), taps(plain.size());
    for (int i = 0; i < side * side; ++i)
      for (int k = 0; k < shape.lines; ++k) {
        const int y = i / side - radius, x = i % side - radius;
        const double a = (180.0 * k / shape.lines + shape.angle_deg) * std::numbers::pi / 180.0;
        const double across = (y * std::cos(a) - x * std::sin(a)) / shape.width_px;
        const double along = std::fabs(x * std::cos(a) + y * std::sin(a));
        if (along <= static_cast<float>(shape.length_px))
          plain[i] += std::exp(-across * across / 2.0 - along / (shape.length_px * shape.decay));
      }
    const double sum = std::accumulate(plain.begin(), plain.end(), 0.0);
    for (int y = 0; y < side; ++y)
      for (const StarKernel::Run& run : kernel.rows[y])
        for (std::size_t i = 0; i < run.count; ++i)
          taps[y * side + run.dx + radius + i] += kernel.taps[run.first + i];
    for (std::size_t i = 0; i < plain.size(); ++i)
      ASSERT_NEAR(taps[i], plain[i] / sum, 1e-14) << shape.lines << " lines, entry " << i;
  }
}

// The plain sum at one output, in the order of the kernel's rows.
double plain_sum(const Image& light, const StarKernel& kernel, int y, int x) {
  double sum = 0.0;
  for (int dy = -kernel.radius; dy <= kernel.radius; ++dy)
    for (const StarKernel::Run& run : kernel.rows[dy + kernel.radius])
      for (std::size_t i = 0; i < run.count; ++i) {
        const int sy = y + dy, sx = x + run.dx + static_cast<int>(i);
        if (sy >= 0 && sy < light.h && sx >= 0 && sx < light.w)
          sum += kernel.taps[run.first + i] * light.at(sy, sx);
      }
  return sum;
}

TEST(StarKernel, DirectSumHasTheBitsOfThePlainOne) {
  Image light = random_image(31, 47, 1);
  for (float& v : light.data) v = std::max(v, 0.0f);
  const StarKernel kernel = star_kernel({20.0, 1.1, 3, 11.0, 0.3});
  const Image spread = spread_by_star(light, kernel);
  for (int y = 0; y < light.h; ++y)
    for (int x = 0; x < light.w; ++x)
      ASSERT_EQ(spread.at(y, x), static_cast<float>(plain_sum(light, kernel, y, x)))
          << y << ", " << x;
}

TEST(StarKernel, TransformAgreesWithTheSum) {
  Image light = random_image(120, 150, 1);  // 18000 sources by some 300,000 taps
  for (float& v : light.data) v = std::fabs(v) + 0.001f;
  const StarKernel kernel = star_kernel({317.0, 3.0, 2, 20.0, 0.32});
  ASSERT_GT(static_cast<double>(kernel.taps.size()) * 18000.0, 3e9);
  const Image spread = spread_by_star(light, kernel);
  double worst = 0.0;
  for (const auto& [y, x] : {std::pair{0, 0}, {119, 149}, {55, 75}, {13, 101}})
    worst = std::max(worst, std::fabs(spread.at(y, x) / plain_sum(light, kernel, y, x) - 1.0));
  EXPECT_LE(worst, 5e-7);
}

// Scattered taps over five blocks a side, which are two groups of them.
TEST(StarKernel, EveryBlockOfALargeKernelFallsWhereItShould) {
  const int half = 1100, side = 2 * half + 1;
  std::vector<double> kernel(static_cast<std::size_t>(side) * side);
  Image light(701, 1300, 1), expected(701, 1300, 1);
  for (std::size_t n = 1; n <= 41; ++n)
    light.data[n * 222291 % light.data.size()] = static_cast<float>(n);
  for (std::size_t n = 1; n <= 297; ++n) {
    const auto tap = static_cast<int>(n * 2641733 % kernel.size());
    kernel[tap] = 1.0 / static_cast<double>(n);
    for (int y = 0; y < light.h; ++y)
      for (int x = 0; x < light.w; ++x) {
        const int to_y = y + tap / side - half, to_x = x + tap % side - half;
        if (light.at(y, x) != 0.0f && to_y >= 0 && to_y < light.h && to_x >= 0 && to_x < light.w)
          expected.at(to_y, to_x) += static_cast<float>(light.at(y, x) * kernel[tap]);
      }
  }
  const Image spread = convolve_large(light, kernel, half);
  for (std::size_t i = 0; i < light.data.size(); ++i)
    ASSERT_NEAR(spread.data[i], expected.data[i], 1e-5) << i;
}

}  // namespace
}  // namespace morva
