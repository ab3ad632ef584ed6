// The wide Gaussian against the direct one.

#include "image/wide_gaussian.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <vector>

#include "image/filters.h"
#include "image/on_every_isa.h"

namespace morva {
namespace {

using WideGaussian = OnEveryIsa;
INSTANTIATE_TEST_SUITE_P(Isa, WideGaussian, testing::ValuesIn(available_isas()), isa_name);

Image filtered_directly(const Image& image, double sigma) {
  Image out = image;
  for (std::int32_t k = 0; k < image.c; ++k)
    store_channel(out, k, gaussian_filter(extract_channel(image, k), sigma, kBoundaryNearest));
  return out;
}

// Lines shorter and longer than the kernel, fewer and more than are filtered together.
TEST_P(WideGaussian, IsTheDirectOneWithinAnUlp) {
  for (const auto& [h, w, c] :
       {std::array{1, 1, 1}, {1, 17, 3}, {37, 1, 1}, {33, 47, 3}, {5, 1201, 1}, {700, 18, 2}}) {
    Image picture = random_image(h, w, c);
    for (float& sample : picture.data) sample = std::exp(sample);
    for (const double sigma : {16.3, 40.0, 90.0, 700.0}) {
      const Image direct = filtered_directly(picture, sigma);
      const Image wide = wide_gaussian_filter(picture, sigma);
      std::size_t different = 0;
      for (std::size_t i = 0; i < direct.data.size(); ++i) {
        different += wide.data[i] != direct.data[i] ? 1 : 0;
        ASSERT_LE(std::abs(std::bit_cast<std::int32_t>(wide.data[i]) -
                           std::bit_cast<std::int32_t>(direct.data[i])),
                  1)
            << h << " x " << w << ", sigma " << sigma << ", sample " << i;
      }
      EXPECT_LE(different, direct.data.size() / 500) << h << " x " << w << ", sigma " << sigma;
      vector::use_isa(vector::Isa::baseline);
      EXPECT_TRUE(same_bits(wide, wide_gaussian_filter(picture, sigma)));
      vector::use_isa(GetParam());
    }
  }
}

// One lamp of 1e6 in the dark: the kernel's shape down to its cut, and nothing beyond it.
TEST_P(WideGaussian, HasTheKernelAndItsCut) {
  const double sigma = 25.0;
  Image line(1, 701, 1);
  line.at(0, 350) = 1e6f;
  const Image wide = wide_gaussian_filter(line, sigma);
  const std::vector<double> kernel = gaussian_kernel(sigma, 100);
  for (int k = -350; k <= 350; ++k) {
    const double expected =
        std::abs(k) <= 100 ? 1e6 * kernel[static_cast<std::size_t>(k + 100)] : 0;
    ASSERT_NEAR(wide.at(0, 350 + k), expected, 1e-7 * expected + 1e-8) << k;
  }
}

TEST(BlurFullSize, KeepsFlatFieldsAndRefusesAbsurdSigmas) {
  const Image flat(40, 300, 1, 0.18f);
  for (const double sigma : {-1.0, 3.0, 15.9, 16.3, 5000.0})
    for (const float sample : blur_full_size(flat, sigma).data)
      ASSERT_NEAR(sample, 0.18f, 2e-8f) << sigma;
  EXPECT_THROW(blur_full_size(flat, 1e9), std::length_error);
  EXPECT_THROW(blur_full_size(flat, std::numeric_limits<double>::quiet_NaN()), std::length_error);
}

}  // namespace
}  // namespace morva
