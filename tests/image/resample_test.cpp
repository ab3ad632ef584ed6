// The resampler against a plain form of the same arithmetic, bit for bit on every instruction set,
// and against what each filter is.

#include "image/resample.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "image/on_every_isa.h"
#include "image/row_resizer.h"

namespace morva {
namespace {

constexpr int kAllFilters[] = {kResizeTriangle, kResizeLanczos, kResizeBicubic, kResizeBox};

using Resample = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, Resample, testing::ValuesIn(available_isas()), isa_name);

float weighted(const ResizeCoefficients& axis, int i, const auto& sample) {
  const size_t output = static_cast<size_t>(i);
  double sum = 0.0;
  for (int t = 0; t < axis.count[output]; ++t)
    sum += static_cast<double>(sample(axis.first[output] + t)) *
           axis.taps[output * axis.tap_stride + static_cast<size_t>(t)];
  return static_cast<float>(sum);
}

// Width, then height, every output on its own.
Image plain_resize(const Image& image, int new_w, int new_h, int filter) {
  Image wide(image.h, new_w, image.c);
  const auto columns = resize_coefficients(image.w, new_w, filter);
  for (int y = 0; y < wide.h; ++y)
    for (int x = 0; x < wide.w; ++x)
      for (int k = 0; k < wide.c; ++k)
        wide.at(y, x, k) = new_w == image.w
                               ? image.at(y, x, k)
                               : weighted(columns, x, [&](int i) { return image.at(y, i, k); });
  if (new_h == image.h) return wide;
  Image out(new_h, new_w, image.c);
  const auto rows = resize_coefficients(image.h, new_h, filter);
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x)
      for (int k = 0; k < out.c; ++k)
        out.at(y, x, k) = weighted(rows, y, [&](int i) { return wide.at(i, x, k); });
  return out;
}

TEST_P(Resample, HasTheBitsOfThePlainForm) {
  const int sizes[][4] = {{1, 1, 1, 1},    {1, 1, 9, 5},     {2, 3, 4, 6},      {15, 16, 17, 15},
                          {16, 17, 8, 34}, {97, 1, 31, 1},   {1, 97, 1, 260},   {61, 53, 61, 20},
                          {61, 53, 7, 53}, {61, 53, 61, 99}, {40, 700, 23, 11}, {45, 31, 130, 611}};
  for (const auto& [h, w, new_h, new_w] : sizes)
    for (int channels : {1, 3})
      for (int filter : {0, 1, 2, 3, -5, 4}) {
        const Image image = random_image(h, w, channels);
        ASSERT_TRUE(same_bits(resize_image(image, new_w, new_h, filter),
                              plain_resize(image, new_w, new_h, filter)))
            << w << " x " << h << " to " << new_w << " x " << new_h << ", filter " << filter << ", "
            << channels << " channels";
      }
}

// Rows on demand: in order, in leaps, backwards, and with room between them.
TEST_P(Resample, RowsOnDemandAreThoseOfTheWholeResult) {
  constexpr int kFirstRows[] = {0, 3, 7, 4, 50, 49, 90, 12, 91, 0};
  for (const auto& [h, w] : {std::pair{1, 1}, {2, 33}, {17, 5}, {100, 700}})
    for (const auto& [new_h, new_w] : {std::pair{1, 33}, {17, 1}, {100, 700}, {333, 1111}})
      for (int channels : {1, 3})
        for (int filter : kAllFilters) {
          const Image image = random_image(h, w, channels);
          const Image whole = resize_image(image, new_w, new_h, filter);
          RowResizer rows(image, new_w, new_h, filter);
          const size_t samples = whole.row_samples(), stride = samples + 3;
          for (int y : kFirstRows)
            for (size_t count : {1u, 3u, 8u}) {
              if (static_cast<size_t>(y) + count > static_cast<size_t>(new_h)) continue;
              std::vector<float> got(count * stride, 77.0f);
              rows.make_rows(static_cast<size_t>(y), count, got.data(), stride);
              const float* want = &whole.data[static_cast<size_t>(y) * samples];
              for (size_t j = 0; j < count; ++j) {
                ASSERT_EQ(0, std::memcmp(&got[j * stride], want + j * samples, samples * 4))
                    << w << " x " << h << " to " << new_w << " x " << new_h << ", row " << y;
                ASSERT_EQ(77.0f, got[j * stride + samples]);
              }
            }
        }
}

TEST_P(Resample, BoxByAWholeFactorAveragesExactBlocks) {
  Image image(12, 40, 1);
  for (int y = 0; y < image.h; ++y)
    for (int x = 0; x < image.w; ++x) image.at(y, x) = static_cast<float>((7 * x + 3 * y * y) % 64);
  const Image out = pil_resize(image, 10, 6, kResizeBox);
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x) {
      float sum = 0.0f;
      for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 4; ++i) sum += image.at(2 * y + j, 4 * x + i);
      ASSERT_EQ(out.at(y, x), sum / 8.0f);
    }
}

TEST_P(Resample, BrokenSamplesReachOnlyTheirOutputs) {
  Image image(30, 30, 1, 0.25f);
  image.at(15, 15) = std::numeric_limits<float>::quiet_NaN();
  for (int filter : kAllFilters) {
    const Image out = pil_resize(image, 60, 60, filter);
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 60; ++x)
        if (std::abs(y - 30) > 7 || std::abs(x - 30) > 7) {
          ASSERT_NEAR(out.at(y, x), 0.25f, 1e-7f);
        }
    EXPECT_TRUE(std::isnan(out.at(30, 30)));
  }
}

long peak_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(ResizeShapes, SizesBeyondMemoryFailAtOnce) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const Image dot(1, 1, 1, 0.5f);
  const long before = peak_kilobytes();
  for (int filter : kAllFilters) {
    EXPECT_THROW(resize_image(dot, kMost, 1, filter), std::bad_alloc);
    EXPECT_THROW(resize_image(dot, 1, kMost, filter), std::bad_alloc);
    EXPECT_THROW(resize_image(dot, kMost / 16, kMost, filter), std::bad_alloc);
    EXPECT_THROW(resize_coefficients(kMost, kMost - 1, filter), std::bad_alloc);
  }
  // Each axis alone would pass, the picture would not.
  EXPECT_THROW(resize_image(Image(1, 1, 100), 200000000, 200000000, kResizeBox), std::bad_alloc);
  EXPECT_LT(peak_kilobytes() - before, 16 * 1024);
}

// Single precision makes 2^24 + 3 one longer than it is.
TEST(ResizeCoefficientsOf, AnAxisRoundedUpStillReadsInsideTheImage) {
  constexpr int kLong = (1 << 24) + 3;
  const auto axis = resize_coefficients(kLong, kLong, kResizeBox);
  for (size_t i = axis.first.size() - 8; i < axis.first.size(); ++i) {
    EXPECT_LT(axis.first[i], kLong);
    EXPECT_GE(axis.count[i], 1);
    EXPECT_LE(axis.first[i] + axis.count[i], kLong);
  }
}

TEST(ResizeCoefficientsOf, EachFilterSumToOneAndLeanOnTheCentre) {
  for (int filter : kAllFilters)
    for (const auto& [in, out] : {std::pair{100, 33}, {33, 100}, {1, 50}, {50, 1}, {999, 998}}) {
      const auto axis = resize_coefficients(in, out, filter);
      for (size_t i = 0; i < axis.first.size(); ++i) {
        ASSERT_GE(axis.first[i], 0);
        ASSERT_GE(axis.count[i], 1);
        ASSERT_LE(axis.first[i] + axis.count[i], in);
        double sum = 0.0, centre = 0.0;
        for (int t = 0; t < axis.count[i]; ++t) {
          const double tap = axis.taps[i * axis.tap_stride + static_cast<size_t>(t)];
          sum += tap;
          centre += tap * (axis.first[i] + t + 0.5);
        }
        ASSERT_NEAR(sum, 1.0, 1e-12);
        // Away from the edges the taps balance about the output's own place.
        const double place = (static_cast<double>(i) + 0.5) * in / out;
        const double reach = 3.0 * std::max(1.0, static_cast<double>(in) / out);
        if (place > reach && place < in - reach) {
          ASSERT_NEAR(centre, place, 0.6 * std::max(1.0, static_cast<double>(in) / out));
        }
      }
    }
}

TEST(ResizeCoefficientsOf, TriangleFromTwoToFourBlendsQuarters) {
  const auto axis = resize_coefficients(2, 4, kResizeTriangle);
  const std::vector<std::vector<double>> taps = {{1.0}, {0.75, 0.25}, {0.25, 0.75}, {1.0}};
  for (size_t i = 0; i < taps.size(); ++i) {
    ASSERT_EQ(axis.count[i], static_cast<int>(taps[i].size()));
    EXPECT_EQ(axis.first[i], i == 3 ? 1 : 0);
    for (size_t t = 0; t < taps[i].size(); ++t)
      EXPECT_EQ(axis.taps[i * axis.tap_stride + t], taps[i][t]);
  }
}

TEST(ResizeShapes, PresentSizeAndEmptyImagesComeBackAsTheyAre) {
  const Image image = random_image(5, 7, 1);
  for (int filter : kAllFilters) EXPECT_TRUE(same_bits(pil_resize(image, 7, 5, filter), image));
  const Image empty(0, 7, 3);
  EXPECT_TRUE(same_bits(resize_image(empty, 20, 20, kResizeBox), empty));
  EXPECT_TRUE(resize_image(image, 0, 5, kResizeBox).data.empty());
  try {
    pil_resize(Image(4, 4, 3), 4, 4, kResizeBox);
    ADD_FAILURE() << "three channels pass";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "pil_resize: нужен один канал");
  }
}

}  // namespace
}  // namespace morva
