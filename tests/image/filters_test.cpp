// What a blur is: it reaches as far as its kernel and no further, and comes out the same whole,
// streamed or by the wide filter; the resampler's rows on demand; hostile sizes and spoiled
// samples. That the values are those of the textbook, and the bits the same on every instruction
// set, is held against peers in tests/oracle.

#include "image/filters.h"

#include <cstring>

#include "image/gaussian_stream.h"
#include "image/on_every_isa.h"
#include "image/row_resizer.h"
#include "image/wide_gaussian.h"
#include "input/failure_of.h"

namespace morva {
namespace {

using testing_files::failure_of, testing_files::peak_kilobytes;

using Filters = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, Filters, testing::ValuesIn(available_isas()), isa_name);

// A line is a picture of one row, but for the rounding of the pass across it.
TEST(FilterLine, IsARowOfItsOwn) {
  const Image row = random_image(1, 83, 1);
  for (int mode : {0, 1, 2}) {
    const Image filtered = gaussian_filter(row, 3.7, mode);
    const std::vector<float> line = gaussian_filter_line(row.data, 3.7, mode);
    for (size_t i = 0; i < line.size(); ++i) ASSERT_NEAR(line[i], filtered.data[i], 1e-6) << i;
  }
  for (int unknown : {-1, 9})
    EXPECT_TRUE(
        same_bits(gaussian_filter(row, 3.7, unknown), gaussian_filter(row, 3.7, kBoundaryReflect)));
}

TEST_P(Filters, BlurGoesThroughAReducedRasterAboveTenPixels) {
  const Image plane = random_image(20, 20, 1);
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
  for (float broken : {NAN, INFINITY}) {
    Image plane = random_image(60, 70, 1);
    const Image clean = gaussian_filter(plane, 2.0, kBoundaryNearest);
    plane.at(31, 40) = broken;
    const Image out = gaussian_filter(plane, 2.0, kBoundaryNearest);
    for (int y = 0; y < out.h; ++y)
      for (int x = 0; x < out.w; ++x) {
        const bool reached = std::abs(y - 31) <= 8 && std::abs(x - 40) <= 8;
        ASSERT_EQ(std::isfinite(out.at(y, x)), !reached) << y << ", " << x;
        ASSERT_TRUE(reached || out.at(y, x) == clean.at(y, x)) << y << ", " << x;
      }
    EXPECT_EQ(blur_plane(plane, 30.0).data.size(), plane.data.size());
  }
}

// Lines shorter and longer than the kernel, fewer and more than are filtered together.
TEST_P(Filters, WideGaussianIsTheDirectOneWithinAnUlp) {
  for (const auto& [h, w, c] :
       {std::array{1, 1, 1}, {1, 17, 3}, {37, 1, 1}, {33, 47, 3}, {5, 1201, 1}, {700, 18, 2}}) {
    Image picture = random_image(h, w, c);
    for (float& sample : picture.data) sample = std::exp(sample);
    for (const double sigma : {16.3, 40.0, 90.0, 700.0}) {
      Image direct = picture;
      for (int k = 0; k < c; ++k)
        store_channel(direct, k,
                      gaussian_filter(extract_channel(picture, k), sigma, kBoundaryNearest));
      const Image wide = wide_gaussian_filter(picture, sigma);
      std::size_t different = 0;
      for (std::size_t i = 0; i < direct.data.size(); ++i) {
        const int ulps = std::bit_cast<int>(wide.data[i]) - std::bit_cast<int>(direct.data[i]);
        different += ulps != 0;
        ASSERT_LE(std::abs(ulps), 1) << h << " x " << w << ", " << sigma << ", sample " << i;
      }
      EXPECT_LE(different, direct.data.size() / 500) << h << " x " << w << ", sigma " << sigma;
      vector::use_isa(vector::Isa::baseline);
      EXPECT_TRUE(same_bits(wide, wide_gaussian_filter(picture, sigma)));
      vector::use_isa(GetParam());
    }
  }
}

// One lamp of 1e6 in the dark: the kernel's shape down to its cut, and nothing beyond it.
TEST_P(Filters, WideGaussianHasTheKernelAndItsCut) {
  Image line(1, 701, 1);
  line.at(0, 350) = 1e6f;
  const Image wide = wide_gaussian_filter(line, 25.0);
  const std::vector<double> kernel = gaussian_kernel(25.0, 100);
  for (int k = -350; k <= 350; ++k) {
    const double expected = std::abs(k) <= 100 ? 1e6 * kernel[k + 100] : 0.0;
    ASSERT_NEAR(wide.at(0, 350 + k), expected, 1e-7 * expected + 1e-8) << k;
  }
}

// What is read and taken is marked: a sample read twice turns into another one.
Image streamed(Image image, double sigma) {
  constexpr float kOpen = -9e9f;
  Image out(image.h, image.w, 1, kOpen);
  const std::size_t w = image.row_samples();
  const auto read = [&](const TilePlace& tile, float* to, std::size_t stride) {
    for (std::size_t j = 0; j < tile.rows; ++j)
      for (std::size_t i = 0; i < tile.columns; ++i)
        to[j * stride + i] = std::exchange(image.data[(tile.y + j) * w + tile.x + i], kOpen);
  };
  const auto take = [&](const TilePlace& tile, const float* from, std::size_t stride) {
    EXPECT_LE(tile.rows, kStreamRows);
    for (std::size_t j = 0; j < tile.rows; ++j)
      for (std::size_t i = 0; i < tile.columns; ++i)
        EXPECT_EQ(std::exchange(out.data[(tile.y + j) * w + tile.x + i], from[j * stride + i]),
                  kOpen)
            << "taken twice";
  };
  stream_gaussian(image.h, w, sigma, read, take);
  return out;
}

// Planes below and above a tile and a band, kernels shorter and longer than the plane.
TEST_P(Filters, StreamedGaussianHasTheBitsOfTheWholeOne) {
  for (const int w : {1, 3, 17, 255, 256, 257, 290, 600})
    for (const int h : {1, 2, 9, 64, 65, 78, 200}) {
      const Image image = random_image(h, w, 1);
      for (const double sigma : {0.0, 0.1, 0.6, 3.5, 9.0, 40.0})
        ASSERT_TRUE(
            same_bits(streamed(image, sigma), gaussian_filter(image, sigma, kBoundaryReflect)))
            << w << " x " << h << ", sigma " << sigma;
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
  const auto none = [](const TilePlace&, const float*, std::size_t) { ADD_FAILURE(); };
  stream_gaussian(0, 5, 2.0, none, none);
  stream_gaussian(5, 0, 2.0, none, none);
}

TEST(BlurFullSize, KeepsFlatFields) {
  for (const double sigma : {-1.0, 3.0, 15.9, 16.3, 5000.0})
    for (const float sample : blur_full_size(Image(40, 300, 1, 0.18f), sigma).data)
      ASSERT_NEAR(sample, 0.18f, 2e-8f) << sigma;
}

TEST(FilterErrors, NameWhatIsWrong) {
  const float src[3] = {1.0f, 2.0f, 3.0f};
  float dst[3];
  const auto failure_with = [&](const std::vector<double>& kernel) {
    return failure_of([&] { correlate1d(src, dst, 1, 3, true, kernel, kBoundaryNearest); });
  };
  for (const auto& bad : {std::vector{0.5, 0.5}, {}, {0.0, 1.0, 0x1p-51}})
    EXPECT_EQ(failure_with(bad), "correlate1d: ядро не симметрично");
  EXPECT_EQ(failure_with({0.0, 1.0, 0x1p-52}), "");

  const Image colour(4, 4, 3);
  EXPECT_EQ(failure_of([&] { gaussian_filter(colour, 0.0, kBoundaryNearest); }),
            "gaussian_filter: нужен один канал");
  EXPECT_EQ(failure_of([&] { blur_plane(colour, 30.0); }), "pil_resize: нужен один канал");

  const Image plane(20, 20, 1);
  for (double sigma : {1e7, 1e300, std::exp(1e3), std::nan("")}) {
    EXPECT_THROW(gaussian_radius(sigma), std::length_error);
    EXPECT_THROW(gaussian_filter(plane, sigma, kBoundaryWrap), std::length_error);
    EXPECT_THROW(blur_plane(plane, sigma), std::length_error);
    EXPECT_THROW(blur_full_size(plane, sigma), std::length_error);
  }
  EXPECT_THROW(gaussian_kernel(1.0, -1), std::length_error);
}

constexpr int kAllFilters[] = {kResizeTriangle, kResizeLanczos, kResizeBicubic, kResizeBox};

// Rows on demand: in order, in leaps, backwards, and with room between them.
TEST_P(Filters, RowsOnDemandAreThoseOfTheWholeResult) {
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

TEST_P(Filters, BrokenSamplesReachOnlyTheirOutputs) {
  Image image(30, 30, 1, 0.25f);
  image.at(15, 15) = NAN;
  for (int filter : kAllFilters) {
    const Image out = pil_resize(image, 60, 60, filter);
    for (int y = 0; y < 60; ++y)
      for (int x = 0; x < 60; ++x)
        ASSERT_TRUE((std::abs(y - 30) <= 7 && std::abs(x - 30) <= 7) ||
                    std::fabs(out.at(y, x) - 0.25f) < 1e-7f);
    EXPECT_TRUE(std::isnan(out.at(30, 30)));
  }
}

TEST(ResizeShapes, SizesBeyondMemoryFailAtOnceAndLargeOnesStayInside) {
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
  // Single precision makes 2^24 + 3 one longer than it is; the end still reads inside the image.
  constexpr int kLong = (1 << 24) + 3;
  const auto axis = resize_coefficients(kLong, kLong, kResizeBox);
  for (size_t i = axis.first.size() - 8; i < axis.first.size(); ++i)
    EXPECT_TRUE(axis.first[i] < kLong && axis.count[i] >= 1 &&
                axis.first[i] + axis.count[i] <= kLong);
}

TEST(ResizeShapes, PresentSizeAndEmptyImagesComeBackAsTheyAre) {
  const Image image = random_image(5, 7, 1), empty(0, 7, 3);
  for (int filter : kAllFilters) EXPECT_TRUE(same_bits(pil_resize(image, 7, 5, filter), image));
  EXPECT_TRUE(same_bits(resize_image(empty, 20, 20, kResizeBox), empty));
  EXPECT_TRUE(resize_image(image, 0, 5, kResizeBox).data.empty());
  EXPECT_EQ(failure_of([] { pil_resize(Image(4, 4, 3), 4, 4, kResizeBox); }),
            "pil_resize: нужен один канал");
}

}  // namespace
}  // namespace morva
