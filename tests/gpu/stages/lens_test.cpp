// Lenses and filters of the profile tree on the GPU against the CPU's stages.

#include "gpu/stages/lens.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

#include "gpu/stages/camera_filters.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/software_device.h"
#include "gpu/stages/white_balance.h"
#include "gpu/stages/wide_gaussian.h"
#include "image/wide_gaussian.h"
#include "optics/camera_filters.h"
#include "optics/lens.h"
#include "optics/white_balance.h"

namespace morva::gpu {
namespace {

const ProfileStore& tree() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

// Soft shapes with fine texture, lamps here and there and a sample below 0.
Image scene(PixelSize size) {
  Image picture = noise_picture(size, 3, 0.9f, 1.1f);
  for (std::int32_t y = 0; y < size.h; ++y)
    for (std::int32_t x = 0; x < size.w; ++x)
      for (std::int32_t k = 0; k < 3; ++k) {
        const float shape = 0.5f + 0.45f * std::sin(0.11f * static_cast<float>(x + k)) *
                                       std::cos(0.07f * static_cast<float>(y));
        picture.at(y, x, k) *= (x * 7 + y * 13) % 211 == 0 ? 8.0f : shape;
      }
  picture.at(size.h / 2, size.w / 3) = -0.1f;
  return picture;
}

// The largest difference as a share of the level, or of 0.01 where it is darker.
double largest_error(const Image& gpu, const Image& cpu) {
  EXPECT_EQ(gpu.data.size(), cpu.data.size());
  double worst = 0.0;
  for (std::size_t i = 0; i < cpu.data.size(); ++i) {
    const double level = std::max(0.01, std::fabs(static_cast<double>(cpu.data[i])));
    const double error = std::fabs(static_cast<double>(gpu.data[i]) - cpu.data[i]) / level;
    if (!(error <= worst)) worst = std::isnan(error) ? INFINITY : error;
  }
  return worst;
}

constexpr double kAgree = 4e-6;  // of the level

const Json kStops[] = {Json::object(), {{"stop", 1.5}, {"glow_mult", 2.0}, {"distortion", false}}};

TEST(LensOnGpu, EveryLensAgreesWithTheCpu) {
  Device& device = software_device();
  const Image light = scene({96, 64});
  for (const std::string& name : tree().list("lenses", true)) {
    const Json lens = tree().load("lenses", name);
    for (const Json& opts : kStops) {
      const Image gpu =
          device.download(apply_lens(device, device.upload(light), lens, opts, RenderContext()));
      const double error =
          largest_error(gpu, morva::apply_lens(light, lens, opts, RenderContext()));
      std::printf("%-16s %-8s largest error %.2g\n", name.c_str(),
                  opts.empty() ? "open" : "stopped", error);
      EXPECT_LT(error, kAgree) << name << " " << opts.dump();
    }
  }
}

// A ring of 0.9 multiplies the error of rounding by ten.
TEST(LensOnGpu, FaultsThatNoLensOfTheTreeHas) {
  Device& device = software_device();
  const Json lens = {
      {"distortion", -0.1},       {"distortion_k5", 0.05},     {"glow", 0.5},  {"glow_ring", 0.9},
      {"glow_focus_shift", 0.01}, {"chroma_soft", {9, 0, 14}}, {"coma", 0.03}, {"ca", 0.01}};
  for (const PixelSize size : {PixelSize{97, 61}, PixelSize{5, 90}, PixelSize{1, 1}}) {
    const Image light = scene(size);
    const Image gpu = device.download(
        apply_lens(device, device.upload(light), lens, Json::object(), RenderContext()));
    EXPECT_LT(largest_error(gpu, morva::apply_lens(light, lens, Json::object(), RenderContext())),
              10.0 * kAgree)
        << size.w << " x " << size.h;
  }
}

TEST(LensOnGpu, CancelEndsIt) {
  std::int32_t cancel = 1;
  RenderContext ctx;
  ctx.cancel = &cancel;
  Device& device = software_device();
  EXPECT_THROW(
      apply_lens(device, device.upload(scene({9, 9})), Json::object(), Json::object(), ctx),
      Cancelled);
}

// Beyond the reach of the tiled kernels, on a picture with lamps of a pixel, one in the corner.
TEST(WideGaussianOnGpu, FollowsTheOneAtFullSize) {
  Device& device = software_device();
  for (const auto& [size, sigma] :
       {std::pair{PixelSize{700, 300}, 154.0}, std::pair{PixelSize{301, 599}, 33.0},
        std::pair{PixelSize{311, 301}, 47.0}, std::pair{PixelSize{400, 3}, 800.0}}) {
    const Image light = scene(size);
    const GImage picture = device.upload(light);
    for (std::int32_t k = 0; k < 3; ++k)
      blur_full_size(device, plane_of(picture, k), plane_of(picture, k), sigma);
    const Image blurred = device.download(picture);
    for (std::int32_t k = 0; k < 3; ++k) {
      const double error = largest_error(extract_channel(blurred, k),
                                         morva::blur_full_size(extract_channel(light, k), sigma));
      std::printf("sigma %g, channel %d: largest error %.2g\n", sigma, k, error);
      EXPECT_LT(error, 2e-4) << sigma;
    }
  }
}

TEST(CameraFiltersOnGpu, EveryFilterAgreesWithTheCpu) {
  Device& device = software_device();
  const Image light = scene({96, 64});
  const Json film = {{"type", "bw"}};
  for (const std::string& name : tree().list("filters", true)) {
    const bool before_lens = name.starts_with("grad") || name.starts_with("star");
    const Json opts = before_lens
                          ? Json{{name.starts_with("grad") ? "filter_grad" : "filter_rays", name},
                                 {"grad_angle", 20.0},
                                 {"rays_angle", 10.0},
                                 {"grad_pos", 0.2}}
                          : Json{{"filter", name}, {"filter_amount", 0.8}};
    GImage picture = device.upload(light);
    picture = before_lens ? apply_front_filters(device, picture, opts, tree())
                          : apply_filters(device, picture, film, opts, tree());
    const Image cpu = before_lens ? morva::apply_front_filters(light, opts, tree())
                                  : morva::apply_filters(light, film, opts, tree());
    const double error = largest_error(device.download(picture), cpu);
    std::printf("%-16s largest error %.2g\n", name.c_str(), error);
    EXPECT_LT(error, kAgree) << name;
  }
}

// One sample without a value spoils neither the haze nor its neighbours.
TEST(CameraFiltersOnGpu, HazeLeavesOutWhatIsNotFinite) {
  Device& device = software_device();
  Image light = scene({40, 30});
  light.at(7, 9, 1) = std::numeric_limits<float>::infinity();
  const Json opts = {{"filter_diffusion", "mist_dense"}};
  Image gpu =
      device.download(apply_filters(device, device.upload(light), Json::object(), opts, tree()));
  Image cpu = morva::apply_filters(light, Json::object(), opts, tree());
  EXPECT_TRUE(std::isinf(gpu.at(7, 9, 1)));
  gpu.at(7, 9, 1) = cpu.at(7, 9, 1) = 0.0f;
  EXPECT_LT(largest_error(gpu, cpu), kAgree);
}

TEST(WhiteBalanceOnGpu, IsThatOfTheCpu) {
  Device& device = software_device();
  const Image light = scene({20, 10});
  const Json film = {{"balance", {{"illuminant_K", 3200}}}};
  for (const Json& opts : {Json::object(), Json{{"wb_temp", 40.0}, {"wb_tint", -30.0}}})
    EXPECT_EQ(device.download(apply_wb(device, device.upload(light), film, opts)).data,
              morva::apply_wb(light, film, opts).data);
}

}  // namespace
}  // namespace morva::gpu
