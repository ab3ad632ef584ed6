// Lenses and filters of the profile tree on the GPU against the CPU's stages.

#include "gpu/stages/lens.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

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

// Both stages on the same light.
template <class OnGpu, class OnCpu, class... More>
void expect_alike(const std::string& what, double bound, const Image& light, OnGpu on_gpu,
                  OnCpu on_cpu, const More&... more) {
  const double error =
      largest_error(on_software_device(light, on_gpu, more...), on_cpu(light, more...));
  std::printf("%s: largest error %.2g\n", what.c_str(), error);
  EXPECT_LT(error, bound) << what;
}

TEST(LensOnGpu, EveryLensAgreesWithTheCpu) {
  for (const std::string& name : tree().list("lenses", true))
    for (const Json& opts :
         {Json::object(), Json{{"stop", 1.5}, {"glow_mult", 2.0}, {"distortion", false}}})
      expect_alike(name + opts.dump(), kAgree, scene({96, 64}), apply_lens, morva::apply_lens,
                   tree().load("lenses", name), opts, RenderContext());
  // Faults that none of them has; a ring of 0.9 multiplies the error of rounding by ten.
  const Json lens = {
      {"distortion", -0.1},       {"distortion_k5", 0.05},     {"glow", 0.5},  {"glow_ring", 0.9},
      {"glow_focus_shift", 0.01}, {"chroma_soft", {9, 0, 14}}, {"coma", 0.03}, {"ca", 0.01}};
  for (const PixelSize size : {PixelSize{97, 61}, PixelSize{5, 90}, PixelSize{1, 1}})
    expect_alike("absurd", 10.0 * kAgree, scene(size), apply_lens, morva::apply_lens, lens,
                 Json::object(), RenderContext());
}

TEST(LensOnGpu, CancelEndsIt) {
  std::int32_t cancel = 1;
  RenderContext ctx;
  ctx.cancel = &cancel;
  const Json none = Json::object();
  EXPECT_THROW(on_software_device(scene({9, 9}), apply_lens, none, none, ctx), Cancelled);
}

// Beyond the reach of the tiled kernels, on a picture with lamps of a pixel, one in the corner.
TEST(WideGaussianOnGpu, FollowsTheOneAtFullSize) {
  for (const auto& wide :
       {std::pair{PixelSize{700, 300}, 154.0}, std::pair{PixelSize{301, 599}, 33.0},
        std::pair{PixelSize{311, 301}, 47.0}, std::pair{PixelSize{400, 3}, 800.0}}) {
    const double sigma = wide.second;
    for (std::int32_t k = 0; k < 3; ++k)
      expect_alike(
          "sigma " + std::to_string(sigma), 2e-4, scene(wide.first),
          [&](Device& device, const GImage& picture) {
            blur_full_size(device, plane_of(picture, k), plane_of(picture, k), sigma);
            return picture;
          },
          [&](Image light) {
            store_channel(light, k, morva::blur_full_size(extract_channel(light, k), sigma));
            return light;
          });
  }
}

TEST(CameraFiltersOnGpu, EveryFilterAgreesWithTheCpu) {
  const Image light = scene({96, 64});
  for (const std::string& name : tree().list("filters", true)) {
    const bool grad = name.starts_with("grad");
    const Json before = {{grad ? "filter_grad" : "filter_rays", name},
                         {"grad_angle", 20.0},
                         {"rays_angle", 10.0},
                         {"grad_pos", 0.2}};
    if (grad || name.starts_with("star"))
      expect_alike(name, kAgree, light, apply_front_filters, morva::apply_front_filters, before,
                   tree());
    else
      expect_alike(name, kAgree, light, apply_filters, morva::apply_filters, Json{{"type", "bw"}},
                   Json{{"filter", name}, {"filter_amount", 0.8}}, tree());
  }
}

// One sample without a value spoils neither the haze nor its neighbours.
TEST(CameraFiltersOnGpu, HazeLeavesOutWhatIsNotFinite) {
  Image light = scene({40, 30});
  light.at(7, 9, 1) = INFINITY;
  const Json film = Json::object(), opts = {{"filter_diffusion", "mist_dense"}};
  Image gpu = on_software_device(light, apply_filters, film, opts, tree());
  Image cpu = morva::apply_filters(light, film, opts, tree());
  EXPECT_TRUE(std::isinf(gpu.at(7, 9, 1)));
  gpu.at(7, 9, 1) = cpu.at(7, 9, 1) = 0.0f;
  EXPECT_LT(largest_error(gpu, cpu), kAgree);
}

TEST(WhiteBalanceOnGpu, IsThatOfTheCpu) {
  const Image light = scene({20, 10});
  const Json film = {{"balance", {{"illuminant_K", 3200}}}};
  for (const Json& opts : {Json::object(), Json{{"wb_temp", 40.0}, {"wb_tint", -30.0}}})
    EXPECT_EQ(on_software_device(light, apply_wb, film, opts).data,
              morva::apply_wb(light, film, opts).data);
}

}  // namespace
}  // namespace morva::gpu
