#include <algorithm>
#include <array>
#include <cmath>

#include "film/exposure_mix.h"
#include "finish/rebate.h"
#include "flow/sheet.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/frame_placement.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/sums.h"
#include "image/elementary.h"
#include "optics/highlights.h"
#include "optics/lens_scatter.h"
#include "print/paper.h"

namespace morva::gpu {

namespace {

constexpr std::array<float, 3> kThree = {0.3f, 1.7f, 0.9f};

// Some of it below black and above white, then also of any size.
const Source kLight = noise(3, -0.2f, 1.4f);
const Source kSpoiltLight = spoilt(kLight);

// A change of every number, by its channel.
template <class Change>
auto to_each(Change change) {
  return [=](Image& picture) {
    for (std::size_t i = 0; i < picture.data.size(); ++i)
      picture.data[i] = change(picture.data[i], i % 3);
  };
}

// IEC 61966-2-1.
float srgb_code(float x, std::size_t) {
  const double clipped = std::clamp(static_cast<double>(x), 0.0, 1.0);
  if (clipped <= 0.0031308) return static_cast<float>(12.92 * clipped);
  return static_cast<float>(1.055 * elementary::pow(clipped, 1.0 / 2.4) - 0.055);
}

KernelCases arithmetic_cases() {
  constexpr std::array<float, 9> matrix = {0.8f,  0.3f,  -0.1f, 0.05f, 0.9f,
                                           0.05f, -0.2f, 0.1f,  1.1f};
  const Json infrared = {{"ir_proxy", {{"chlorophyll", 1.6}}}}, custom = {{"wb_mode", "custom"}};
  return {
      stage_case(
          "mul_ch", 0.0, kSpoiltLight, multiply_channels,
          [](Image& picture) { scale_channels(picture, kThree.data()); }, kThree),
      stage_case("add_ch", 0.0, kSpoiltLight, add_channels,
                 to_each([](float x, std::size_t k) { return x + kThree[k]; }), kThree),
      stage_case("add_ch, one offset", 0.0, kSpoiltLight, add_to_all,
                 to_each([](float x, std::size_t) { return x + 0.37f; }), 0.37f),
      stage_case("mat3", 0.0, kSpoiltLight, apply_matrix, mix_rows, matrix),
      stage_case(
          "false_ir", 0.0, kSpoiltLight, mix_infrared,
          [=](Image& picture) { apply_exposure_mix(picture, infrared, custom); },
          ir_mix(Json::object())),
      stage_case("clampv, from below", 0.0, kSpoiltLight, clamp_light, clamp_to_light, false),
      stage_case("clampv, to one", 0.0, kSpoiltLight, clamp_light, clamp_to_sheet, true),
      // A GPU may divide with an error of 2.5 ulp.
      stage_case("scale_div", 2.5, kSpoiltLight, divide,
                 to_each([](float x, std::size_t) { return x / 0.37f; }), 0.37f),
      stage_case(
          "dot3_plane", 0.0, kLight, weighted_plane,
          [](const Image& from) { return mix_channels(from, 0.3f, 1.7f, 0.9f); }, kThree),
      stage_case(
          "mix2", 0.0, kLight,
          [](Device& device, const GImage& a, const GImage& b) {
            return mix(device, a, 0.7f, b, 0.6f);
          },
          [](Image& a, const Image& b) {
            for (std::size_t i = 0; i < a.data.size(); ++i)
              a.data[i] = 0.7f * a.data[i] + 0.6f * b.data[i];
          },
          noise(3, -0.2f, 1.4f, 2)),
      stage_case(
          "mul_field", 0.0, kLight, multiply_by_field,
          [](Image& light, const Image& field) {
            for (std::size_t i = 0; i < light.data.size(); ++i) light.data[i] *= field.data[i / 3];
          },
          noise(1, 0.0f, 2.0f, 2)),
      stage_case("srgb_main", bound_on(4.0, 24.0), kLight, encode_srgb, to_each(srgb_code)),
  };
}

// What is not finite gives 0.
Image with_spoilt_blue(PixelSize size) {
  Image from = kLight(size);
  const float none[] = {INFINITY, -INFINITY, NAN};
  for (std::size_t i = 0; i < from.pixels() / 4; ++i) from.data[i * 12 + 2] = none[i % 3];
  return from;
}

KernelCase frame_case(const char* name, const PictureWindow& window) {
  const auto plan_for = [window](PixelSize size) {
    RebatePlan plan;
    plan.margins = {3, 1, 2, 7};
    plan.h = size.h + 4;
    plan.w = size.w + 9;
    plan.window = window;
    return plan;
  };
  return stage_case(
      name, 0.0, kLight,
      [=](Device& device, const GImage& picture) {
        return place_on_film(device, picture, plan_for({picture.width, picture.height}));
      },
      [=](const Image& picture) {
        Rng rng = rng_from_key({1});
        return lay_rebate(picture, plan_for({picture.w, picture.h}), RebateStyle{}, rng).work;
      });
}

KernelCases placement_cases() {
  PictureWindow round;
  round.corner_px = 5.0;
  round.ramp_px = 2.0;
  round.left_right = GateSide::soft;
  return {
      stage_case(
          "copy_main", 0.0,
          [](PixelSize size) {
            return kLight({size.w, size.h + 1});
          },
          [](Device& device, const GImage& to, const GImage& from) {  // the rest stays
            const auto count = static_cast<std::uint32_t>(from.height * from.width * 3);
            const LaunchGrid shape = grid(count);
            device.dispatch(Kernel::copy_main, shape.groups_x, shape.groups_y, {count}, {},
                            {from.buffer.get(), nullptr, to.buffer.get()});
          },
          [](Image& to, const Image& from) {
            std::copy(from.data.begin(), from.data.end(), to.data.begin());
          },
          noise(3, -0.2f, 1.4f, 2)),
      stage_case(
          "copy_view", 0.0, noise(4, 0.0f, 1.0f, 2),
          [](Device& device, const GImage& to, const GImage& from) {
            copy_plane(device, plane_of(from, 1), plane_of(to, 3));
          },
          [](Image& to, const Image& from) { store_channel(to, 3, extract_channel(from, 1)); },
          kLight),
      stage_case(
          "thresh", 0.0, with_spoilt_blue,
          [](Device& device, const GImage& picture) {
            over_threshold(device, plane_of(picture, 2), plane_of(picture, 2), 0.6f);
          },
          [](Image& picture) { store_channel(picture, 2, light_above(picture, 2, 0.6f)); }),
      frame_case("place_frame, sharp gate", {}),
      frame_case("place_frame, round gate", round),
      stage_case("composite_base", 0.0, kLight, lay_base_outside, morva::lay_base_outside,
                 noise(1, 0.0f, 1.0f, 2), kThree),
      stage_case("pad_border", 0.0, kLight, pad_border, morva::pad_border, 0.11, kThree),
  };
}

// A Gaussian over one channel of a picture, in its place.
KernelCase gaussian_case(const char* name, double sigma, int mode) {
  return stage_case(
      name, 6.0, kLight,
      [=](Device& device, const GImage& picture) {
        gaussian_filter(device, plane_of(picture, 1), plane_of(picture, 1), sigma, mode);
      },
      [=](Image& picture) {
        store_channel(picture, 1, gaussian_filter(extract_channel(picture, 1), sigma, mode));
      });
}

KernelCase resize_case(const char* name, double times_w, double times_h, int filter) {
  const auto target = [=](int w, int h) {
    return at_least_one({static_cast<int>(w * times_w), static_cast<int>(h * times_h)});
  };
  return stage_case(
      name, 6.0, kLight,
      [=](Device& device, const GImage& from) {
        const PixelSize to = target(from.width, from.height);
        return resize(device, from, to.w, to.h, filter);
      },
      [=](const Image& from) {
        const PixelSize to = target(from.w, from.h);
        return resize_image(from, to.w, to.h, filter);
      });
}

// The kernel's double sums, rounded once; what the CPU adds up one by one is as good.
KernelCase sum_case(const char* name, double bound_ulp, double (*on_gpu)(Device&, const GImage&),
                    double (*of_pixel)(const float*)) {
  return {name, bound_ulp, [=](Device& device, PixelSize size) {
            const Image picture = kLight(size);
            double total = 0.0;
            for (std::size_t i = 0; i < picture.pixels(); ++i)
              total += of_pixel(&picture.data[i * 3]);
            const double gpu = on_gpu(device, device.upload(picture));
            return Compared{{static_cast<float>(gpu)}, {static_cast<float>(total)}};
          }};
}

KernelCases sum_cases() {
  return {
      sum_case(
          "rowsum", 0.0,
          [](Device& device, const GImage& p) { return sum(device, plane_of(p, 1)); },
          [](const float* p) { return double{p[1]}; }),
      sum_case(
          "rowsum, transmittance", bound_on(8.0, 64.0),
          [](Device& device, const GImage& p) {
            return transmittance_sum(device, plane_of(p, 2), 0.3f);
          },
          [](const float* p) { return elementary::pow(10.0, 0.3 - p[2]); }),
      sum_case(
          "rowsum, weighted", 0.0,
          [](Device& device, const GImage& p) { return weighted_sum(device, p, kThree); },
          [](const float* p) { return double{(0.3f * p[0] + 1.7f * p[1]) + 0.9f * p[2]}; }),
  };
}

KernelCases filter_cases() {
  return {
      gaussian_case("gauss_row, gauss_col_tile", 2.3, kBoundaryNearest),
      gaussian_case("gauss_row, gauss_col_tile, wraps round", 21.0, kBoundaryWrap),
      gaussian_case("gauss_row, gauss_col_tile, mirrored", 32.0, kBoundaryReflect),
      gaussian_case("gauss_line, gauss_col", 33.0, kBoundaryNearest),
      gaussian_case("gauss_line, gauss_col, mirrored", 90.0, kBoundaryReflect),
      resize_case("resample_h, resample_v, reduced", 0.41, 0.37, kResizeLanczos),
      resize_case("resample_h, resample_v, enlarged", 1.7, 2.3, kResizeBicubic),
      resize_case("resample_h, alone", 0.6, 1.0, kResizeTriangle),
      resize_case("resample_v, alone", 1.0, 0.5, kResizeBox),
  };
}

}  // namespace

KernelCases numeric_cases() {
  return all_of({arithmetic_cases(), placement_cases(), filter_cases(), sum_cases()});
}

}  // namespace morva::gpu
