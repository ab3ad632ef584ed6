// Whole blurs, resizes and sums on the software GPU against the CPU's, where they change their way
// of working.

#include "gpu/stages/filters.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "gpu/stages/kernel_case.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/software_device.h"
#include "gpu/stages/sums.h"
#include "image/pairwise_sum.h"

namespace morva::gpu {
namespace {

float largest_difference(const Image& a, const Image& b) {
  EXPECT_EQ(a.data.size(), b.data.size());
  float largest = 0.0f;
  for (std::size_t i = 0; i < std::min(a.data.size(), b.data.size()); ++i)
    largest = std::max(largest, std::fabs(a.data[i] - b.data[i]));
  return largest;
}

// Picture values lie in 0..1; single precision rounds a sum of a few hundred of them by this much.
constexpr float kRounding = 1e-6f;

// Launches that a group's memory holds and those that it does not, on lines shorter than the
// kernel's reach and longer, with everything that may stand beyond their ends.
TEST(GpuGaussian, AgreesAtEveryRadiusAndBoundary) {
  Device& device = software_device();
  for (const PixelSize size : {PixelSize{7, 300}, {300, 5}, {1, 1}})
    for (const int radius : {0, 1, 128, 129, 300})
      for (const int mode :
           {kBoundaryNearest, kBoundaryReflect, kBoundaryWrap, kBoundaryConstant}) {
        const double sigma = radius == 0 ? 0.1 : radius / 4.0;
        ASSERT_EQ(gaussian_radius(sigma), radius);
        Image picture = noise_picture(size, 3, 0.0f, 1.0f);
        const GImage gpu = device.upload(picture);
        gaussian_filter(device, plane_of(gpu, 2), plane_of(gpu, 0), sigma, mode);
        store_channel(picture, 0, gaussian_filter(extract_channel(picture, 2), sigma, mode));
        EXPECT_LT(largest_difference(device.download(gpu), picture), kRounding)
            << size.w << " x " << size.h << ", radius " << radius << ", mode " << mode;
      }
}

TEST(GpuGaussian, TakesMoreRowsThanThereAreGroups) {
  Device& device = software_device();
  const Image plane = noise_picture({2, 65536}, 1, 0.0f, 1.0f);
  const GImage gpu = device.upload(plane);
  gaussian_filter(device, plane_of(gpu), plane_of(gpu), 1.0, kBoundaryNearest);
  EXPECT_LT(largest_difference(device.download(gpu), gaussian_filter(plane, 1.0, kBoundaryNearest)),
            kRounding);
}

TEST(GpuBlur, GoesThroughTheSameReducedPicture) {
  Device& device = software_device();
  for (const PixelSize size : {PixelSize{61, 37}, {20, 20}, {16, 200}})
    for (const double sigma : {0.0, 0.7, 10.0, 10.01, 23.0, 400.0}) {
      Image picture = noise_picture(size, 3, 0.0f, 1.0f);
      GImage gpu = device.upload(picture);
      EXPECT_LT(largest_difference(device.download(blur_image(device, gpu, sigma)),
                                   blur_image(picture, sigma)),
                kRounding)
          << size.w << " x " << size.h << ", sigma " << sigma;
      // One channel, where it stands.
      blur_plane(device, plane_of(gpu, 1), plane_of(gpu, 1), sigma);
      store_channel(picture, 1, blur_plane(extract_channel(picture, 1), sigma));
      EXPECT_LT(largest_difference(device.download(gpu), picture), kRounding)
          << size.w << " x " << size.h << ", sigma " << sigma << ", one channel";
    }
}

TEST(GpuBlur, RefusesWhatTheCpuRefuses) {
  Device& device = software_device();
  const GImage picture = device.upload(noise_picture({8, 8}, 1, 0.0f, 1.0f));
  EXPECT_THROW(blur_image(device, picture, NAN), std::length_error);
  EXPECT_THROW(gaussian_filter(device, plane_of(picture), plane_of(picture), INFINITY, 0),
               std::length_error);
}

TEST(GpuResize, PresentSizeIsThePictureItself) {
  Device& device = software_device();
  const GImage picture = device.upload(noise_picture({9, 4}, 3, 0.0f, 1.0f));
  EXPECT_EQ(resize(device, picture, 9, 4, kResizeLanczos).buffer, picture.buffer);
  EXPECT_NE(blur_image(device, picture, 0.0).buffer, picture.buffer);
}

// Element 4096 of a row begins a stretch of its own.
TEST(GpuSums, OneSumForEachStretchOfARow) {
  Device& device = software_device();
  if (!device.info().doubles) GTEST_SKIP();
  for (const int columns : {4096, 4097}) {
    const Image rows = noise_picture({columns, 3}, 1, -1.0f, 1.0f);
    const auto stretches = static_cast<std::uint32_t>(columns > 4096 ? 2 : 1);
    const std::shared_ptr<Buffer> sums = device.alloc(6 * stretches);
    device.dispatch(Kernel::rowsum, stretches, 3,
                    {3, static_cast<std::uint32_t>(columns), 0, 1, 0, stretches}, {},
                    {device.upload(rows).buffer.get(), sums.get()});
    const std::vector<float> halves = device.download(*sums, 6 * stretches);
    for (std::uint32_t k = 0; k < 3 * stretches; ++k) {
      const auto sum = std::bit_cast<double>(std::array{halves[2 * k], halves[2 * k + 1]});
      const float* row = rows.data.data() + k / stretches * rows.row_samples();
      double expected = k % stretches == 1 ? row[4096] : 0.0;
      if (k % stretches == 0)
        for (int x = 0; x < 4096; ++x) expected += row[x];
      EXPECT_NEAR(sum, expected, 1e-11) << columns << " columns, sum " << k;
    }
  }
}

TEST(GpuSums, SameWithDoublesAndWithout) {
  Device& device = software_device();
  const Image picture = noise_picture({113, 97}, 3, 0.0f, 2.0f);
  const GImage gpu = device.upload(picture);
  const auto measure = [&] {
    const MeanDeviation grain = mean_deviation(device, plane_of(gpu, 1));
    return std::array{sum(device, plane_of(gpu, 2)), grain.mean, grain.deviation,
                      weighted_sum(device, gpu, {0.2f, 0.7f, 0.1f}),
                      transmittance_sum(device, plane_of(gpu), 0.3f)};
  };
  const auto with = measure();
  bool& doubles = const_cast<DeviceInfo&>(device.info()).doubles;
  const bool has_doubles = doubles;
  doubles = false;
  const auto without = measure();
  doubles = has_doubles;
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(with[i] / without[i], 1.0, 1e-12) << i;
  EXPECT_NEAR(with[4] / without[4], 1.0, 1e-6);
  const Image plane = extract_channel(picture, 1);
  const MeanAndDeviation cpu = mean_and_deviation(plane.data.data(), plane.data.size());
  EXPECT_NEAR(with[1], cpu.mean, 1e-12);
  EXPECT_NEAR(with[2], cpu.deviation, 1e-10);
}

}  // namespace
}  // namespace morva::gpu
