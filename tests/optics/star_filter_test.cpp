// The star filter against a plain convolution, and what it may and may not do to light.

#include "optics/star_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <new>

#include "image/elementary.h"
#include "image/vector/isa.h"

namespace morva {
namespace {

// The whole square of the kernel, zeros included, in single precision.
std::vector<float> dense_kernel(const StarShape& shape, int reach) {
  const int side = 2 * reach + 1;
  std::vector<float> kernel(static_cast<std::size_t>(side) * side);
  const auto twice_variance = static_cast<float>(2.0 * shape.width_px * shape.width_px);
  const auto decay = static_cast<float>(std::max(0.001, shape.length_px * shape.decay));
  for (int k = 0; k < shape.lines; ++k) {
    const double a = (k * 180.0 / shape.lines + shape.angle_deg) * (3.141592653589793 / 180.0);
    const auto cos_a = static_cast<float>(elementary::cos(a));
    const auto sin_a = static_cast<float>(elementary::sin(a));
    for (int i = 0; i < side * side; ++i) {
      const auto y = static_cast<float>(i / side - reach);
      const auto x = static_cast<float>(i % side - reach);
      const float across = y * cos_a - x * sin_a;
      const float along = std::fabs(x * cos_a + y * sin_a);
      if (along <= static_cast<float>(shape.length_px))
        kernel[i] += elementary::expf(-(across * across) / twice_variance) *
                     elementary::expf(-along / decay);
    }
  }
  double total = 0.0;
  for (const float tap : kernel) total += static_cast<double>(tap);
  if (total > 0.0)
    for (float& tap : kernel) tap = static_cast<float>(static_cast<double>(tap) / total);
  return kernel;
}

Image plain_convolution(const Image& plane, const std::vector<float>& kernel, int reach) {
  const int side = 2 * reach + 1;
  Image out(plane.h, plane.w, 1);
  for (int y = 0; y < plane.h; ++y) {
    for (int x = 0; x < plane.w; ++x) {
      double sum = 0.0;
      for (int i = 0; i < side * side; ++i) {
        const int from_y = y + i / side - reach, from_x = x + i % side - reach;
        if (from_y < 0 || from_y >= plane.h || from_x < 0 || from_x >= plane.w) continue;
        sum += static_cast<double>(kernel[i]) * static_cast<double>(plane.at(from_y, from_x));
      }
      out.at(y, x) = static_cast<float>(sum);
    }
  }
  return out;
}

// Light in `density` of 16 samples.
Image lights(int h, int w, unsigned density) {
  Image plane(h, w, 1);
  unsigned state = 12345u + static_cast<unsigned>(h * 131 + w);
  for (float& value : plane.data) {
    state = state * 1664525u + 1013904223u;
    if ((state >> 24) % 16u < density) value = static_cast<float>((state >> 8) & 0xffffu) / 777.0f;
  }
  return plane;
}

TEST(StarKernel, EqualsThePlainConvolutionBitForBit) {
  const StarShape shapes[] = {{3.0, 0.6, 0.32, 0.0, 2},  {17.4, 1.1, 0.3, 22.5, 4},
                              {9.5, 2.9, 0.1, 45.0, 1},  {30.0, 0.7, 1.5, -67.0, 3},
                              {0.2, 0.6, 0.32, 10.0, 2}, {12.0, 1e200, 1e300, 0.0, 1}};
  const std::pair<int, int> sizes[] = {{1, 1}, {1, 23}, {23, 1}, {16, 17}, {31, 13}, {40, 44}};
  for (const vector::Isa isa : {vector::Isa::baseline, vector::Isa::avx2, vector::Isa::avx512}) {
    vector::use_isa(isa);
    for (const StarShape& shape : shapes) {
      const int reach = std::max(1, static_cast<int>(std::nearbyint(shape.length_px)));
      const std::vector<float> kernel = dense_kernel(shape, reach);
      for (const auto& [h, w] : sizes) {
        for (const unsigned density : {1u, 16u}) {
          const Image plane = lights(h, w, density);
          EXPECT_EQ(plain_convolution(plane, kernel, reach).data,
                    convolve_star(plane, star_kernel(shape, h, w)).data)
              << h << "x" << w << " length " << shape.length_px;
        }
      }
    }
  }
  vector::use_isa(vector::best_isa());
}

Image lamp_in_the_dark(int side, float light) {
  Image image(side, side, 3, 0.1f);
  for (int k = 0; k < 3; ++k) image.at(side / 2, side / 2, k) = light;
  return image;
}

double sum_of(const Image& image, int k) {
  double sum = 0.0;
  for (std::size_t i = 0; i < image.pixels(); ++i)
    sum += static_cast<double>(image.data[i * 3 + k]);
  return sum;
}

TEST(StarFilter, MovesLightAndAddsNone) {
  for (const double width : {0.004, 0.02}) {  // drawn directly, and on a reduced raster
    const Json filter = {{"rays", 6},
                         {"strength", 0.4},
                         {"length_frac", 0.2},
                         {"width_frac", width},
                         {"tint", {1.0, 0.5, 0.0}}};
    const Image lamp = lamp_in_the_dark(301, 200.8f);
    const Image out = throw_rays(lamp, star_params(filter, Json::object(), 301));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(sum_of(lamp, k), sum_of(out, k), 0.05) << width;
    EXPECT_LT(out.at(150, 150, 0), out.at(150, 150, 1));
    EXPECT_EQ(200.8f, out.at(150, 150, 2));  // a channel without share is left alone
    EXPECT_GT(out.at(150, 170, 0), out.at(140, 150, 0));
  }
}

TEST(StarFilter, RaysFollowTheirNumberAngleAndWavelength) {
  const Image lamp = lamp_in_the_dark(201, 1000.0f);
  const auto star = [&](const Json& filter, const Json& opts) {
    return throw_rays(lamp, star_params(filter, opts, 201));
  };
  const Image one = star({{"rays", 1}}, Json::object());
  EXPECT_EQ(one.data, star({{"rays", 3.9}}, Json::object()).data);
  EXPECT_EQ(one.data, star({{"rays", -1e308}}, Json::object()).data);
  EXPECT_GT(one.at(100, 115), 0.2f);
  EXPECT_EQ(0.1f, one.at(115, 100));
  const Image upright = star({{"rays", 2}, {"angle", 40}}, {{"rays_angle", 50}});
  EXPECT_GT(upright.at(115, 100), 0.2f);
  EXPECT_EQ(0.1f, upright.at(100, 115));
  const Image coloured = star({{"rays", 2}, {"decay", 10}, {"dispersion", 2}}, Json::object());
  const auto reach = [&](int k) {
    int x = 100;
    while (x < 200 && coloured.at(100, x + 1, k) > 0.1f) ++x;
    return x - 100;
  };
  EXPECT_NEAR(28.14 * (1.0 + 2.0 * (0.62 / 0.55 - 1.0)), reach(0), 1.0);
  EXPECT_NEAR(28.14, reach(1), 1.0);
  EXPECT_NEAR(28.14 * (1.0 + 2.0 * (0.45 / 0.55 - 1.0)), reach(2), 1.0);
}

TEST(StarFilter, PassesWhatHasNoLightToThrow) {
  Image dim = lamp_in_the_dark(9, 0.8f);
  dim.at(0, 0, 0) = -0.5f;
  EXPECT_EQ(dim.data, throw_rays(dim, star_params({{"strength", 50}}, Json::object(), 9)).data);
  dim.at(4, 4, 1) = 5.0f;
  EXPECT_EQ(dim.data, throw_rays(dim, star_params({{"strength", 1e-5}}, Json::object(), 9)).data);
  const Image out = throw_rays(dim, star_params(Json::object(), Json::object(), 9));
  EXPECT_EQ(0.0f, out.at(0, 0, 0));  // once it runs, no sample stays below 0
}

TEST(StarFilter, BadSamplesAndAbsurdNumbers) {
  Image picture = lamp_in_the_dark(31, 9.0f);
  picture.at(2, 2, 0) = NAN;
  picture.at(5, 9, 1) = INFINITY;
  const Image out = throw_rays(picture, star_params(Json::object(), Json::object(), 31));
  for (std::size_t i = 0; i < out.data.size(); ++i)
    if (std::isfinite(picture.data[i])) EXPECT_TRUE(std::isfinite(out.data[i])) << i;

  const Image lamp = lamp_in_the_dark(31, 9.0f);
  const auto star = [&](const Json& filter) {
    return throw_rays(lamp, star_params(filter, {{"rays_angle", 1e308}}, 31));
  };
  EXPECT_THROW(star({{"length_frac", 1e308}}), std::bad_alloc);
  EXPECT_THROW(star({{"length_frac", 1e4}}), std::bad_alloc);
  EXPECT_THROW(star({{"dispersion", 1e308}}), std::bad_alloc);
  for (const Json& filter :
       {Json{{"width_frac", 1e308}}, Json{{"rays", 1e308}}, Json{{"angle", 1e308}},
        Json{{"decay", -1e308}}, Json{{"decay", 1e308}}, Json{{"length_frac", -1e308}}})
    for (const float value : star(filter).data) EXPECT_TRUE(std::isfinite(value)) << filter.dump();
}

}  // namespace
}  // namespace morva
