// The filters on every instruction set, and what a blur is: it reaches as far as its kernel and no
// further. That its values are those of the textbook is held against a peer in tests/oracle.

#include "image/filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "image/on_every_isa.h"
#include "image/resample.h"
#include "input/failure_of.h"

namespace morva {
namespace {

using testing_files::failure_of;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Filters = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, Filters, testing::ValuesIn(available_isas()), isa_name);

std::vector<double> random_kernel(int radius, unsigned seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal;
  std::vector<double> kernel(2 * static_cast<size_t>(radius) + 1);
  for (int k = 0; k <= radius; ++k)
    kernel[static_cast<size_t>(radius + k)] = kernel[static_cast<size_t>(radius - k)] =
        normal(random);
  return kernel;
}

// Kernels up to many times the length of the line.
TEST_P(Filters, HaveTheBitsOfTheBaseline) {
  const auto correlated = [](const Image& plane, int radius, int mode, bool along_rows) {
    Image out(plane.h, plane.w, 1, kNaN);
    correlate1d(plane.data.data(), out.data.data(), plane.h, plane.w, along_rows,
                random_kernel(radius, static_cast<unsigned>(radius)), mode);
    return out;
  };
  const int sizes[][2] = {{1, 1}, {1, 2}, {15, 16}, {17, 1}, {1, 131}, {97, 3}, {113, 67}};
  for (const auto& [h, w] : sizes)
    for (int radius : {0, 1, 17, 150})
      for (int mode : {0, 1, 2, 3, -1, 9})
        for (bool along_rows : {false, true}) {
          const Image plane = random_image(h, w, 1);
          const Image here = correlated(plane, radius, mode, along_rows);
          vector::use_isa(vector::Isa::baseline);
          ASSERT_TRUE(same_bits(here, correlated(plane, radius, mode, along_rows)))
              << h << " x " << w << ", radius " << radius << ", mode " << mode << ", rows "
              << along_rows;
          vector::use_isa(GetParam());
        }
}

// A line is a picture of one row, but for the rounding of the pass across it.
TEST(FilterLine, IsARowOfItsOwn) {
  const Image row = random_image(1, 83, 1);
  for (int mode : {0, 1, 2}) {
    const Image filtered = gaussian_filter(row, 3.7, mode);
    const std::vector<float> line = gaussian_filter_line(row.data, 3.7, mode);
    for (size_t i = 0; i < line.size(); ++i) ASSERT_NEAR(line[i], filtered.data[i], 1e-6) << i;
  }
}

TEST_P(Filters, BlurGoesThroughAReducedRasterAboveTenPixels) {
  const Image plane = random_image(20, 20, 1);
  Image small = pil_resize(plane, 16, 16, kResizeTriangle);
  small = gaussian_filter(small, 16 * 100.0 / 20, kBoundaryNearest);
  EXPECT_TRUE(same_bits(blur_plane(plane, 100.0), pil_resize(small, 20, 20, kResizeTriangle)));
  EXPECT_TRUE(same_bits(blur_plane(plane, 10.0), gaussian_filter(plane, 10.0, kBoundaryNearest)));

  // The cheap path stays close to the Gaussian it stands for, where no edge is in reach: that of
  // noise with a deviation of 1 has one of 0.019 itself.
  const Image wide = random_image(260, 300, 1);
  const Image cheap = blur_plane(wide, 15.0);
  const Image exact = gaussian_filter(wide, 15.0, kBoundaryNearest);
  float worst = 0.0f;
  for (int y = 60; y < 200; ++y)
    for (int x = 60; x < 240; ++x)
      worst = std::max(worst, std::fabs(cheap.at(y, x) - exact.at(y, x)));
  EXPECT_LT(worst, 0.004f);
  EXPECT_GT(worst, 1e-6f) << "the direct filter ran";
}

TEST_P(Filters, NothingSpreadsBeyondTheKernel) {
  const double sigma = 2.0;
  const int radius = static_cast<int>(gaussian_radius(sigma));
  for (float broken : {kNaN, std::numeric_limits<float>::infinity()}) {
    Image plane = random_image(60, 70, 1);
    const Image clean = gaussian_filter(plane, sigma, kBoundaryNearest);
    plane.at(31, 40) = broken;
    const Image out = gaussian_filter(plane, sigma, kBoundaryNearest);
    for (int y = 0; y < out.h; ++y)
      for (int x = 0; x < out.w; ++x) {
        const bool reached = std::abs(y - 31) <= radius && std::abs(x - 40) <= radius;
        ASSERT_EQ(std::isfinite(out.at(y, x)), !reached) << y << ", " << x;
        if (!reached) {
          ASSERT_EQ(out.at(y, x), clean.at(y, x));
        }
      }
    EXPECT_EQ(blur_plane(plane, 30.0).data.size(), plane.data.size());
  }
}

TEST(FilterKernel, NoBlurIsTheIdentity) {
  const Image plane = random_image(9, 13, 1);
  for (double sigma : {1e-16, 1e-15, 0.0, -3.0, 0.1})
    EXPECT_TRUE(same_bits(gaussian_filter(plane, sigma, kBoundaryReflect), plane)) << sigma;
  EXPECT_TRUE(same_bits(blur_plane(plane, -1.0), plane));
  const Image empty(0, 12, 1);
  EXPECT_TRUE(same_bits(gaussian_filter(empty, 3.0, kBoundaryWrap), empty));
  EXPECT_TRUE(same_bits(blur_image(empty, 300.0), empty));
  EXPECT_TRUE(gaussian_filter_line({}, 2.0, kBoundaryNearest).empty());
}

TEST(FilterErrors, NameWhatIsWrong) {
  const float src[3] = {1.0f, 2.0f, 3.0f};
  float dst[3];
  const auto filter_with = [&](const std::vector<double>& kernel) {
    return [&, kernel] { correlate1d(src, dst, 1, 3, true, kernel, kBoundaryNearest); };
  };
  const double epsilon = 2.220446049250313e-16;
  const std::string asymmetric = "correlate1d: ядро не симметрично";
  EXPECT_EQ(failure_of(filter_with({0.5, 0.5})), asymmetric);
  EXPECT_EQ(failure_of(filter_with({})), asymmetric);
  EXPECT_EQ(failure_of(filter_with({0.0, 1.0, 2.0 * epsilon})), asymmetric);
  EXPECT_NO_THROW(filter_with({0.0, 1.0, epsilon})());

  const Image colour(4, 4, 3);
  const auto one_channel = [&](double sigma) {
    return failure_of([&] { blur_plane(colour, sigma); });
  };
  EXPECT_EQ(failure_of([&] { gaussian_filter(colour, 0.0, kBoundaryNearest); }),
            "gaussian_filter: нужен один канал");
  EXPECT_EQ(one_channel(3.0), "gaussian_filter: нужен один канал");
  EXPECT_EQ(one_channel(30.0), "pil_resize: нужен один канал");

  const Image plane(20, 20, 1);
  for (double sigma : {1e7, 1e300, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(gaussian_radius(sigma), std::length_error);
    EXPECT_THROW(gaussian_filter(plane, sigma, kBoundaryWrap), std::length_error);
    EXPECT_THROW(blur_plane(plane, sigma), std::length_error);
  }
  EXPECT_THROW(gaussian_kernel(1.0, -1), std::length_error);
}

}  // namespace
}  // namespace morva
