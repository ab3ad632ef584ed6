// Whole blurs, resizes and sums on the software GPU against the CPU's, where they change their way
// of working.

#include "gpu/stages/filters.h"

#include <gtest/gtest.h>

#include <cmath>

#include "gpu/stages/kernel_case.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/software_device.h"
#include "gpu/stages/sums.h"
#include "image/pairwise_sum.h"

namespace morva::gpu {
namespace {

// Picture values lie in 0..1; single precision rounds a sum of a few hundred of them by this much.
void expect_alike(const Image& gpu, const Image& cpu) {
  ASSERT_EQ(gpu.data.size(), cpu.data.size());
  float largest = 0.0f;
  for (std::size_t i = 0; i < gpu.data.size(); ++i)
    largest = std::max(largest, std::fabs(gpu.data[i] - cpu.data[i]));
  EXPECT_LT(largest, 1e-6f);
}

// Launches that a group's memory holds and those that it does not, on lines shorter than the
// kernel's reach and longer, with everything that may stand beyond their ends; more rows than there
// are groups.
TEST(GpuGaussian, AgreesAtEveryRadiusAndBoundary) {
  Device& device = software_device();
  const auto expect_agreement = [&](PixelSize size, int radius, int mode) {
    SCOPED_TRACE(std::to_string(size.w) + " x " + std::to_string(size.h) + ", radius " +
                 std::to_string(radius) + ", mode " + std::to_string(mode));
    const double sigma = radius == 0 ? 0.1 : radius / 4.0;
    ASSERT_EQ(gaussian_radius(sigma), radius);
    Image picture = noise_picture(size, 3, 0.0f, 1.0f);
    const GImage gpu = device.upload(picture);
    gaussian_filter(device, plane_of(gpu, 2), plane_of(gpu, 0), sigma, mode);
    store_channel(picture, 0, gaussian_filter(extract_channel(picture, 2), sigma, mode));
    expect_alike(device.download(gpu), picture);
  };
  for (const PixelSize size : {PixelSize{7, 300}, {300, 5}, {1, 1}})
    for (const int radius : {0, 1, 128, 129, 300})
      for (const int mode : {kBoundaryNearest, kBoundaryReflect, kBoundaryWrap, kBoundaryConstant})
        expect_agreement(size, radius, mode);
  expect_agreement({2, 65536}, 4, kBoundaryNearest);
}

TEST(GpuBlur, GoesThroughTheSameReducedPicture) {
  Device& device = software_device();
  for (const PixelSize size : {PixelSize{61, 37}, {20, 20}, {16, 200}})
    for (const double sigma : {0.0, 0.7, 10.0, 10.01, 23.0, 400.0}) {
      SCOPED_TRACE(std::to_string(size.w) + " wide, sigma " + std::to_string(sigma));
      Image picture = noise_picture(size, 3, 0.0f, 1.0f);
      const GImage gpu = device.upload(picture);
      const GImage blurred = blur_image(device, gpu, sigma);
      EXPECT_NE(blurred.buffer, gpu.buffer);
      expect_alike(device.download(blurred), blur_image(picture, sigma));
      // One channel, where it stands.
      blur_plane(device, plane_of(gpu, 1), plane_of(gpu, 1), sigma);
      store_channel(picture, 1, blur_plane(extract_channel(picture, 1), sigma));
      expect_alike(device.download(gpu), picture);
    }
}

TEST(GpuBlur, RefusesWhatTheCpuRefuses) {
  Device& device = software_device();
  const GImage picture = device.upload(noise_picture({8, 8}, 1, 0.0f, 1.0f));
  EXPECT_THROW(blur_image(device, picture, NAN), std::length_error);
  EXPECT_THROW(gaussian_filter(device, plane_of(picture), plane_of(picture), INFINITY, 0),
               std::length_error);
  EXPECT_EQ(resize(device, picture, 8, 8, kResizeLanczos).buffer, picture.buffer);
}

// A kernel adds up stretches of 4096 numbers: one exactly, one more, and three.
TEST(GpuSums, SameWithDoublesAndWithout) {
  Device& device = software_device();
  bool& doubles = const_cast<DeviceInfo&>(device.info()).doubles;
  const bool has_doubles = doubles;
  for (const PixelSize size : {PixelSize{64, 64}, {4097, 1}, {113, 97}}) {
    const Image picture = noise_picture(size, 3, 0.0f, 2.0f);
    const GImage gpu = device.upload(picture);
    const auto measure = [&](bool with_doubles) {
      doubles = with_doubles;
      const MeanDeviation grain = mean_deviation(device, plane_of(gpu, 1));
      return std::array{sum(device, plane_of(gpu, 2)), grain.mean, grain.deviation,
                        weighted_sum(device, gpu, {0.2f, 0.7f, 0.1f}),
                        transmittance_sum(device, plane_of(gpu), 0.3f)};
    };
    const auto without = measure(false), with = measure(has_doubles);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(with[i] / without[i], 1.0, 1e-12) << i;
    EXPECT_NEAR(with[4] / without[4], 1.0, 1e-6);
    const Image plane = extract_channel(picture, 1);
    const MeanAndDeviation cpu = mean_and_deviation(plane.data.data(), plane.data.size());
    EXPECT_NEAR(with[1], cpu.mean, 1e-12);
    EXPECT_NEAR(with[2], cpu.deviation, 1e-10);
  }
}

}  // namespace
}  // namespace morva::gpu
