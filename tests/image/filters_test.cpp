// The filters against a plain form of the same arithmetic, bit for bit on every instruction set,
// and against what a blur is: a mean that keeps flat fields, reaches as far as its kernel and no
// further.

#include "image/filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "image/on_every_isa.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"

namespace morva {
namespace {

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

// The sample beyond the end of a line, walked to by single steps.
float beyond(const std::vector<float>& line, int i, int mode) {
  const int n = static_cast<int>(line.size());
  if (mode == kBoundaryConstant && (i < 0 || i >= n)) return 0.0f;
  if (mode == kBoundaryWrap) {
    while (i < 0) i += n;
    while (i >= n) i -= n;
  } else if (mode == kBoundaryNearest) {
    i = std::min(std::max(i, 0), n - 1);
  } else {
    while (i < 0 || i >= n) i = i < 0 ? -1 - i : 2 * n - 1 - i;
  }
  return line[static_cast<size_t>(i)];
}

std::vector<float> plain_correlation(const std::vector<float>& line,
                                     const std::vector<double>& kernel, int mode) {
  const int radius = static_cast<int>(kernel.size()) / 2;
  std::vector<float> out;
  for (int i = 0; i < static_cast<int>(line.size()); ++i) {
    double sum = kernel[static_cast<size_t>(radius)] * static_cast<double>(beyond(line, i, mode));
    for (int k = radius; k >= 1; --k)
      sum += (static_cast<double>(beyond(line, i - k, mode)) +
              static_cast<double>(beyond(line, i + k, mode))) *
             kernel[static_cast<size_t>(radius - k)];
    out.push_back(static_cast<float>(sum));
  }
  return out;
}

Image plain_correlation(const Image& plane, const std::vector<double>& kernel, bool along_rows,
                        int mode) {
  Image out(plane.h, plane.w, 1);
  for (int n = 0; n < (along_rows ? plane.h : plane.w); ++n) {
    std::vector<float> line;
    for (int i = 0; i < (along_rows ? plane.w : plane.h); ++i)
      line.push_back(along_rows ? plane.at(n, i) : plane.at(i, n));
    line = plain_correlation(line, kernel, mode);
    for (int i = 0; i < static_cast<int>(line.size()); ++i)
      (along_rows ? out.at(n, i) : out.at(i, n)) = line[static_cast<size_t>(i)];
  }
  return out;
}

template <typename Exception, typename Call>
std::string message_of(const Call& call) {
  try {
    call();
  } catch (const Exception& error) {
    return error.what();
  }
  return "nothing was thrown";
}

TEST_P(Filters, CorrelationHasTheBitsOfThePlainForm) {
  const int sizes[][2] = {{1, 1},  {1, 2},   {3, 1},  {2, 3},   {15, 16},  {16, 15},
                          {17, 1}, {1, 131}, {97, 3}, {49, 17}, {113, 67}, {5, 283}};
  for (const auto& [h, w] : sizes)
    for (int radius : {0, 1, 4, 17, 150})  // up to many times the length of the line
      for (int mode : {0, 1, 2, 3, -1, 9})
        for (bool along_rows : {false, true}) {
          const Image plane = random_image(h, w, 1);
          const std::vector<double> kernel = random_kernel(radius, static_cast<unsigned>(radius));
          Image out(h, w, 1, kNaN);
          correlate1d(plane.data.data(), out.data.data(), h, w, along_rows, kernel, mode);
          ASSERT_TRUE(same_bits(out, plain_correlation(plane, kernel, along_rows, mode)))
              << h << " x " << w << ", radius " << radius << ", mode " << mode << ", rows "
              << along_rows;
        }
}

TEST_P(Filters, GaussianIsColumnsThenRowsInSinglePrecision) {
  for (double sigma : {0.13, 0.9, 3.7, 21.0}) {
    const Image plane = random_image(61, 83, 1);
    const auto kernel = gaussian_kernel(sigma, gaussian_radius(sigma));
    for (int mode : {0, 1, 2, 3}) {
      const Image columns = plain_correlation(plane, kernel, false, mode);
      EXPECT_TRUE(same_bits(gaussian_filter(plane, sigma, mode),
                            plain_correlation(columns, kernel, true, mode)));
      const std::vector<float> line(plane.data.begin(), plane.data.begin() + 83);
      EXPECT_EQ(gaussian_filter_line(line, sigma, mode), plain_correlation(line, kernel, mode));
    }
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

TEST_P(Filters, ChannelsAreBlurredApart) {
  for (int channels : {2, 3, 4})
    for (double sigma : {1.3, 40.0}) {
      const Image picture = random_image(57, 75, channels);
      const Image blurred = blur_image(picture, sigma);
      for (int k = 0; k < channels; ++k)
        EXPECT_TRUE(
            same_bits(extract_channel(blurred, k), blur_plane(extract_channel(picture, k), sigma)));
    }
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

TEST_P(Filters, FlatFieldsStayFlat) {
  const Image flat(300, 400, 1, 0.18f);
  for (double sigma : {0.4, 7.0, 55.0})
    for (float v : blur_plane(flat, sigma).data) ASSERT_NEAR(v, 0.18f, 2e-7f) << sigma;
}

TEST(FilterKernel, IsAGaussianOfUnitSum) {
  for (double sigma : {0.2, 1.0, 6.0, 250.0}) {
    const std::int64_t radius = gaussian_radius(sigma);
    EXPECT_EQ(radius, static_cast<std::int64_t>(sigma * 4.0 + 0.5));
    const auto kernel = gaussian_kernel(sigma, radius);
    ASSERT_EQ(kernel.size(), static_cast<size_t>(2 * radius + 1));
    EXPECT_NEAR(std::accumulate(kernel.begin(), kernel.end(), 0.0), 1.0, 1e-13);
    double variance = 0.0;
    for (std::int64_t k = -radius; k <= radius; ++k)
      variance += static_cast<double>(k * k) * kernel[static_cast<size_t>(radius + k)];
    // Four sigmas hold 99.9 % of the second moment; the narrowest is a single sample but for its
    // foot.
    if (sigma >= 1.0) {
      EXPECT_NEAR(std::sqrt(variance), sigma, 0.002 * sigma);
    }
  }
  EXPECT_EQ(gaussian_kernel(0.1, gaussian_radius(0.1)), std::vector<double>{1.0});
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
  EXPECT_EQ(message_of<std::logic_error>(filter_with({0.5, 0.5})), asymmetric);
  EXPECT_EQ(message_of<std::logic_error>(filter_with({})), asymmetric);
  EXPECT_EQ(message_of<std::logic_error>(filter_with({0.0, 1.0, 2.0 * epsilon})), asymmetric);
  EXPECT_NO_THROW(filter_with({0.0, 1.0, epsilon})());

  const Image colour(4, 4, 3);
  const auto one_channel = [&](double sigma) {
    return message_of<std::logic_error>([&] { blur_plane(colour, sigma); });
  };
  EXPECT_EQ(message_of<std::logic_error>([&] { gaussian_filter(colour, 0.0, kBoundaryNearest); }),
            "gaussian_filter: нужен один канал");
  EXPECT_EQ(one_channel(3.0), "gaussian_filter: нужен один канал");
  EXPECT_EQ(one_channel(30.0), "pil_resize: нужен один канал");
}

TEST(FilterErrors, ARadiusBeyondReasonIsRefused) {
  const Image plane(20, 20, 1);
  for (double sigma : {1e7, 1e300, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(gaussian_radius(sigma), std::length_error);
    EXPECT_THROW(gaussian_filter(plane, sigma, kBoundaryWrap), std::length_error);
    EXPECT_THROW(blur_plane(plane, sigma), std::length_error);
  }
  EXPECT_THROW(gaussian_kernel(1.0, -1), std::length_error);
}

TEST(PairwiseSum, KeepsSmallTermsThatAPlainSumLoses) {
  // One large term, then a million that a running sum would swallow one by one.
  std::vector<double> values(1 << 20, 1e-16);
  values[0] = 1.0;
  const double truth = 1.0 + ((1 << 20) - 1) * 1e-16;
  EXPECT_EQ(std::accumulate(values.begin(), values.end(), 0.0), 1.0);
  EXPECT_NEAR(pairwise_sum(values.data(), values.size()), truth, 2e-14);
  EXPECT_EQ(pairwise_sum(values.data(), 0), 0.0);
}

TEST(PairwiseSum, DeviationIsTakenAboutTheMean) {
  std::vector<float> values;
  for (int i = 0; i < 3000; ++i) values.push_back(i % 2 == 0 ? 4096.5f : 4095.5f);
  EXPECT_EQ(standard_deviation(values.data(), values.size()), 0.5);
  EXPECT_EQ(standard_deviation(values.data(), 1), 0.0);
  EXPECT_EQ(standard_deviation(values.data(), 0), 0.0);
}

}  // namespace
}  // namespace morva
