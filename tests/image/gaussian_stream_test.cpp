// The streamed Gaussian has the bits of the whole one, and asks for each sample once.

#include "image/gaussian_stream.h"

#include <gtest/gtest.h>

#include <utility>

#include "image/filters.h"
#include "image/on_every_isa.h"

namespace morva {
namespace {

using GaussianStream = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, GaussianStream, testing::ValuesIn(available_isas()), isa_name);

// What is read and taken is marked: a sample read twice turns into another one.
Image streamed(Image image, double sigma) {
  constexpr float kOpen = -9e9f;
  Image out(image.h, image.w, 1, kOpen);
  const auto read = [&](const TilePlace& tile, float* to, std::size_t stride) {
    for (std::size_t j = 0; j < tile.rows; ++j)
      for (std::size_t i = 0; i < tile.columns; ++i) {
        float& sample = image.data[(tile.y + j) * image.row_samples() + tile.x + i];
        to[j * stride + i] = std::exchange(sample, kOpen);
      }
  };
  const auto take = [&](const TilePlace& tile, const float* from, std::size_t stride) {
    EXPECT_LE(tile.rows, kStreamRows);
    for (std::size_t j = 0; j < tile.rows; ++j)
      for (std::size_t i = 0; i < tile.columns; ++i) {
        float& sample = out.data[(tile.y + j) * out.row_samples() + tile.x + i];
        EXPECT_EQ(sample, kOpen) << "taken twice";
        sample = from[j * stride + i];
      }
  };
  stream_gaussian(static_cast<std::size_t>(image.h), image.row_samples(), sigma, read, take);
  return out;
}

// Planes below and above a tile and a band, kernels shorter and longer than the plane.
TEST_P(GaussianStream, HasTheBitsOfTheWholeFilter) {
  for (const int w : {1, 3, 17, 255, 256, 257, 290, 600})
    for (const int h : {1, 2, 9, 64, 65, 78, 200}) {
      const Image image = random_image(h, w, 1);
      for (const double sigma : {0.0, 0.1, 0.6, 3.5, 9.0, 40.0})
        ASSERT_TRUE(
            same_bits(streamed(image, sigma), gaussian_filter(image, sigma, kBoundaryReflect)))
            << w << " x " << h << ", sigma " << sigma;
    }
}

TEST(GaussianStreamShapes, NothingIsAskedOfAnEmptyPlane) {
  const auto none = [](const TilePlace&, const float*, std::size_t) { ADD_FAILURE(); };
  stream_gaussian(0, 5, 2.0, none, none);
  stream_gaussian(5, 0, 2.0, none, none);
}

}  // namespace
}  // namespace morva
