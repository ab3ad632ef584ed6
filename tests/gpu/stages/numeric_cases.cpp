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

Compared compared(Device& device, const GImage& gpu, const Image& cpu) {
  return {device.download(gpu).data, cpu.data};
}

// Light with some of it below black and above white, and of any size.
Image light(PixelSize size, std::int64_t seed = 1) {
  return noise_picture(size, 3, -0.2f, 1.4f, seed);
}

// A kernel that changes a picture in place, and the CPU's function for it.
template <class OnGpu, class OnCpu>
KernelCase in_place(const char* name, Kernel kernel, double bound_ulp, OnGpu on_gpu, OnCpu on_cpu) {
  return {name, {kernel}, bound_ulp, [=](Device& device, PixelSize size) {
            Image cpu = spoilt(light(size));
            const GImage gpu = device.upload(cpu);
            on_gpu(device, gpu);
            on_cpu(cpu);
            return compared(device, gpu, cpu);
          }};
}

std::vector<KernelCase> arithmetic_cases() {
  constexpr std::array<float, 9> matrix = {0.8f,  0.3f,  -0.1f, 0.05f, 0.9f,
                                           0.05f, -0.2f, 0.1f,  1.1f};
  const auto to_each = [](auto change) {
    return [=](Image& picture) {
      for (std::size_t i = 0; i < picture.data.size(); ++i)
        picture.data[i] = change(picture.data[i], i % 3);
    };
  };
  return {
      in_place(
          "mul_ch", Kernel::mul_ch, 0.0,
          [](Device& device, const GImage& picture) { multiply_channels(device, picture, kThree); },
          [](Image& picture) { scale_channels(picture, kThree.data()); }),
      in_place(
          "add_ch", Kernel::add_ch, 0.0,
          [](Device& device, const GImage& picture) { add_channels(device, picture, kThree); },
          to_each([](float x, std::size_t k) { return x + kThree[k]; })),
      in_place(
          "add_ch, one offset", Kernel::add_ch, 0.0,
          [](Device& device, const GImage& picture) { add_to_all(device, picture, 0.37f); },
          to_each([](float x, std::size_t) { return x + 0.37f; })),
      in_place(
          "mat3", Kernel::mat3, 0.0,
          [=](Device& device, const GImage& picture) { apply_matrix(device, picture, matrix); },
          [=](Image& picture) { mix_rows(picture, matrix); }),
      in_place(
          "false_ir", Kernel::false_ir, 0.0,
          [](Device& device, const GImage& picture) {
            mix_infrared(device, picture, ir_mix(Json::object()));
          },
          [](Image& picture) {
            apply_exposure_mix(picture, {{"ir_proxy", {{"chlorophyll", 1.6}}}},
                               {{"wb_mode", "custom"}});
          }),
      in_place(
          "clampv, from below", Kernel::clampv, 0.0,
          [](Device& device, const GImage& picture) { clamp_light(device, picture, false); },
          clamp_to_light),
      in_place(
          "clampv, to one", Kernel::clampv, 0.0,
          [](Device& device, const GImage& picture) { clamp_light(device, picture, true); },
          clamp_to_sheet),
      // A GPU may divide with an error of 2.5 ulp.
      in_place(
          "scale_div", Kernel::scale_div, 2.5,
          [](Device& device, const GImage& picture) { divide(device, picture, 0.37f); },
          to_each([](float x, std::size_t) { return x / 0.37f; })),
  };
}

Compared copy_leaves_the_rest(Device& device, PixelSize size) {
  const Image from = light(size);
  Image cpu = light({size.w, size.h + 1}, 2);
  const GImage to = device.upload(cpu);
  const LaunchGrid shape = grid(from.data.size());
  device.dispatch(Kernel::copy_main, shape.groups_x, shape.groups_y,
                  {static_cast<std::uint32_t>(from.data.size())}, {},
                  {device.upload(from).buffer.get(), nullptr, to.buffer.get()});
  std::copy(from.data.begin(), from.data.end(), cpu.data.begin());
  return compared(device, to, cpu);
}

Compared copy_between_channels(Device& device, PixelSize size) {
  const Image from = light(size);
  Image cpu = noise_picture(size, 4, 0.0f, 1.0f, 2);
  const GImage to = device.upload(cpu);
  copy_plane(device, plane_of(device.upload(from), 1), plane_of(to, 3));
  store_channel(cpu, 3, extract_channel(from, 1));
  return compared(device, to, cpu);
}

// What is not finite gives 0.
Compared highlights_of_a_channel(Device& device, PixelSize size) {
  Image from = light(size);
  const float spoilt[] = {INFINITY, -INFINITY, NAN};
  for (std::size_t i = 0; i < from.pixels() / 4; ++i) from.data[i * 12 + 2] = spoilt[i % 3];
  const GImage gpu = device.upload(from);
  over_threshold(device, plane_of(gpu, 2), plane_of(gpu, 2), 0.6f);
  return {device.download(gpu).data, [&] {
            Image cpu = from;
            store_channel(cpu, 2, light_above(from, 2, 0.6f));
            return cpu.data;
          }()};
}

Compared mix_of_two(Device& device, PixelSize size) {
  const Image a = light(size);
  const Image b = light(size, 2);
  Image cpu = a;
  for (std::size_t i = 0; i < cpu.data.size(); ++i)
    cpu.data[i] = 0.7f * a.data[i] + 0.6f * b.data[i];
  return compared(device, mix(device, device.upload(a), 0.7f, device.upload(b), 0.6f), cpu);
}

Compared weighted_channels(Device& device, PixelSize size) {
  const Image from = light(size);
  return compared(device, weighted_plane(device, device.upload(from), kThree),
                  mix_channels(from, kThree[0], kThree[1], kThree[2]));
}

Compared field_over_channels(Device& device, PixelSize size) {
  Image cpu = light(size);
  const Image field = noise_picture(size, 1, 0.0f, 2.0f, 2);
  const GImage gpu = device.upload(cpu);
  multiply_by_field(device, gpu, device.upload(field));
  for (std::size_t i = 0; i < cpu.data.size(); ++i) cpu.data[i] *= field.data[i / 3];
  return compared(device, gpu, cpu);
}

// IEC 61966-2-1.
Compared srgb_curve(Device& device, PixelSize size) {
  const Image from = light(size);
  Image cpu = from;
  for (float& x : cpu.data) {
    const double clipped = std::clamp(static_cast<double>(x), 0.0, 1.0);
    x = static_cast<float>(clipped <= 0.0031308
                               ? 12.92 * clipped
                               : 1.055 * elementary::pow(clipped, 1.0 / 2.4) - 0.055);
  }
  return compared(device, encode_srgb(device, device.upload(from)), cpu);
}

Compared on_film(Device& device, PixelSize size, const PictureWindow& window) {
  RebatePlan plan;
  plan.margins = {3, 1, 2, 7};
  plan.h = size.h + 4;
  plan.w = size.w + 9;
  plan.window = window;
  const Image from = light(size);
  Rng rng = rng_from_key({1});
  return compared(device, place_on_film(device, device.upload(from), plan),
                  lay_rebate(from, plan, RebateStyle{}, rng).work);
}

Compared base_outside(Device& device, PixelSize size) {
  Image cpu = light(size);
  const Image mask = noise_picture(size, 1, 0.0f, 1.0f, 2);
  const GImage gpu = device.upload(cpu);
  lay_base_outside(device, gpu, device.upload(mask), kThree);
  lay_base_outside(cpu, mask, kThree);
  return compared(device, gpu, cpu);
}

Compared bordered(Device& device, PixelSize size) {
  const Image from = light(size);
  return compared(device, pad_border(device, device.upload(from), 0.11, kThree),
                  pad_border(from, 0.11, kThree));
}

std::vector<KernelCase> placement_cases() {
  PictureWindow round;
  round.corner_px = 5.0;
  round.ramp_px = 2.0;
  round.left_right = GateSide::soft;
  return {
      {"copy_main", {Kernel::copy_main}, 0.0, copy_leaves_the_rest},
      {"copy_view", {Kernel::copy_view}, 0.0, copy_between_channels},
      {"thresh", {Kernel::thresh}, 0.0, highlights_of_a_channel},
      {"mix2", {Kernel::mix2}, 0.0, mix_of_two},
      {"dot3_plane", {Kernel::dot3_plane}, 0.0, weighted_channels},
      {"mul_field", {Kernel::mul_field}, 0.0, field_over_channels},
      {"srgb_main", {Kernel::srgb_main}, bound_on(4.0, 24.0), srgb_curve},
      {"place_frame, sharp gate",
       {Kernel::place_frame},
       0.0,
       [](Device& device, PixelSize size) { return on_film(device, size, {}); }},
      {"place_frame, round gate",
       {Kernel::place_frame},
       0.0,
       [=](Device& device, PixelSize size) { return on_film(device, size, round); }},
      {"composite_base", {Kernel::composite_base}, 0.0, base_outside},
      {"pad_border", {Kernel::pad_border}, 0.0, bordered},
  };
}

// A Gaussian over one channel of a picture, in its place.
KernelCase gaussian_case(const char* name, std::vector<Kernel> kernels, double sigma, int mode) {
  return {name, std::move(kernels), 6.0, [=](Device& device, PixelSize size) {
            Image cpu = light(size);
            const GImage gpu = device.upload(cpu);
            gaussian_filter(device, plane_of(gpu, 1), plane_of(gpu, 1), sigma, mode);
            store_channel(cpu, 1, gaussian_filter(extract_channel(cpu, 1), sigma, mode));
            return compared(device, gpu, cpu);
          }};
}

KernelCase resize_case(const char* name, std::vector<Kernel> kernels, double times_w,
                       double times_h, int filter) {
  return {name, std::move(kernels), 6.0, [=](Device& device, PixelSize size) {
            const Image from = light(size);
            const PixelSize to = at_least_one(
                {static_cast<int>(size.w * times_w), static_cast<int>(size.h * times_h)});
            return compared(device, resize(device, device.upload(from), to.w, to.h, filter),
                            resize_image(from, to.w, to.h, filter));
          }};
}

// The kernel's double sums, rounded once; what the CPU adds up one by one is as good.
template <class OnGpu, class OnCpu>
KernelCase sum_case(const char* name, double bound_ulp, OnGpu on_gpu, OnCpu of_pixel) {
  return {name, {Kernel::rowsum}, bound_ulp, [=](Device& device, PixelSize size) {
            const Image picture = light(size);
            double total = 0.0;
            for (std::size_t i = 0; i < picture.pixels(); ++i)
              total += of_pixel(&picture.data[i * 3]);
            const double gpu = on_gpu(device, device.upload(picture));
            return Compared{{static_cast<float>(gpu)}, {static_cast<float>(total)}};
          }};
}

std::vector<KernelCase> sum_cases() {
  return {
      sum_case(
          "rowsum", 0.0,
          [](Device& device, const GImage& picture) { return sum(device, plane_of(picture, 1)); },
          [](const float* p) { return static_cast<double>(p[1]); }),
      sum_case(
          "rowsum, transmittance", bound_on(8.0, 64.0),
          [](Device& device, const GImage& picture) {
            return transmittance_sum(device, plane_of(picture, 2), 0.3f);
          },
          [](const float* p) { return elementary::pow(10.0, 0.3 - p[2]); }),
      sum_case(
          "rowsum, weighted", 0.0,
          [](Device& device, const GImage& picture) {
            return weighted_sum(device, picture, kThree);
          },
          [](const float* p) {
            return static_cast<double>((kThree[0] * p[0] + kThree[1] * p[1]) + kThree[2] * p[2]);
          }),
  };
}

std::vector<KernelCase> filter_cases() {
  const std::vector<Kernel> tiled = {Kernel::gauss_row, Kernel::gauss_col_tile};
  const std::vector<Kernel> direct = {Kernel::gauss_line, Kernel::gauss_col};
  const std::vector<Kernel> resampling = {Kernel::resample_h, Kernel::resample_v};
  return {
      gaussian_case("gauss_row, gauss_col_tile", tiled, 2.3, kBoundaryNearest),
      gaussian_case("gauss_row, gauss_col_tile, wraps round", tiled, 21.0, kBoundaryWrap),
      gaussian_case("gauss_row, gauss_col_tile, mirrored", tiled, 32.0, kBoundaryReflect),
      gaussian_case("gauss_line, gauss_col", direct, 33.0, kBoundaryNearest),
      gaussian_case("gauss_line, gauss_col, mirrored", direct, 90.0, kBoundaryReflect),
      resize_case("resample, reduced", resampling, 0.41, 0.37, kResizeLanczos),
      resize_case("resample, enlarged", resampling, 1.7, 2.3, kResizeBicubic),
      resize_case("resample_h alone", {Kernel::resample_h}, 0.6, 1.0, kResizeTriangle),
      resize_case("resample_v alone", {Kernel::resample_v}, 1.0, 0.5, kResizeBox),
  };
}

}  // namespace

std::vector<KernelCase> numeric_cases() {
  std::vector<KernelCase> all;
  for (const auto& family : {arithmetic_cases(), placement_cases(), filter_cases(), sum_cases()})
    for (const KernelCase& one : family) all.push_back(one);
  return all;
}

}  // namespace morva::gpu
