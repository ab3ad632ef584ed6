// The resampler's rows on demand on every instruction set, hostile sizes and spoiled samples. Its
// values are held against a peer in tests/oracle.

#include "image/resample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "image/on_every_isa.h"
#include "image/row_resizer.h"
#include "input/failure_of.h"

namespace morva {
namespace {

constexpr int kAllFilters[] = {kResizeTriangle, kResizeLanczos, kResizeBicubic, kResizeBox};

using Resample = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, Resample, testing::ValuesIn(available_isas()), isa_name);

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

TEST(ResizeShapes, SizesBeyondMemoryFailAtOnce) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const Image dot(1, 1, 1, 0.5f);
  const long before = testing_files::peak_kilobytes();
  for (int filter : kAllFilters) {
    EXPECT_THROW(resize_image(dot, kMost, 1, filter), std::bad_alloc);
    EXPECT_THROW(resize_image(dot, 1, kMost, filter), std::bad_alloc);
    EXPECT_THROW(resize_image(dot, kMost / 16, kMost, filter), std::bad_alloc);
    EXPECT_THROW(resize_coefficients(kMost, kMost - 1, filter), std::bad_alloc);
  }
  // Each axis alone would pass, the picture would not.
  EXPECT_THROW(resize_image(Image(1, 1, 100), 200000000, 200000000, kResizeBox), std::bad_alloc);
  EXPECT_LT(testing_files::peak_kilobytes() - before, 16 * 1024);
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

TEST(ResizeShapes, PresentSizeAndEmptyImagesComeBackAsTheyAre) {
  const Image image = random_image(5, 7, 1), empty(0, 7, 3);
  for (int filter : kAllFilters) EXPECT_TRUE(same_bits(pil_resize(image, 7, 5, filter), image));
  EXPECT_TRUE(same_bits(resize_image(empty, 20, 20, kResizeBox), empty));
  EXPECT_TRUE(resize_image(image, 0, 5, kResizeBox).data.empty());
  EXPECT_EQ(testing_files::failure_of([] { pil_resize(Image(4, 4, 3), 4, 4, kResizeBox); }),
            "pil_resize: нужен один канал");
}

}  // namespace
}  // namespace morva
