#include <algorithm>
#include <cmath>
#include <utility>

#include "gpu/stages/coat.h"
#include "gpu/stages/drawn_field.h"
#include "gpu/stages/ink_deposit.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/pigment.h"
#include "gpu/stages/plane_shift.h"
#include "gpu/stages/print_relief.h"
#include "gpu/stages/process_print.h"
#include "gpu/stages/process_texture.h"
#include "image/elementary.h"

namespace morva::gpu {

namespace {

// Bare paper and full ink are among the values.
Image ink_plane(PixelSize size, std::int64_t seed = 1) {
  Image ink = noise_picture(size, 1, -0.2f, 1.2f, seed);
  for (float& d : ink.data) d = std::clamp(d, 0.0f, 1.0f);
  return ink;
}

// A stage that changes one plane in place, on both sides.
template <class OnGpu, class OnCpu>
KernelCase in_place(const char* name, std::vector<Kernel> kernels, double bound_ulp, OnGpu on_gpu,
                    OnCpu on_cpu) {
  return {name, std::move(kernels), bound_ulp, [=](Device& device, PixelSize size) {
            Image cpu = ink_plane(size);
            const GImage gpu = device.upload(cpu);
            on_gpu(device, gpu);
            on_cpu(cpu);
            return Compared{device.download(gpu).data, cpu.data};
          }};
}

KernelCase amount_case(const char* name, double bound_ulp, const char* paper_text,
                       const char* option_text) {
  return {name, {Kernel::alt_amount}, bound_ulp, [=](Device& device, PixelSize size) {
            const Json paper = Json::parse(paper_text), options = Json::parse(option_text);
            Image density = noise_picture(size, 1, -2.0f, 2.0f);
            if (density.data.size() > 40 && get(paper, "flare").is_null()) {
              density.data[7] = NAN;
              density.data[20] = INFINITY;
              density.data[33] = -INFINITY;
            }
            const GImage ink =
                ink_of_negative(device, device.upload(density), print_params_bw(paper, options));
            return Compared{device.download(ink).data,
                            ink_of_negative(std::move(density), paper, options).data};
          }};
}

KernelCase deposit_case(const char* name, double bound_ulp, const Deposit& how) {
  return in_place(
      name, {Kernel::alt_pickup}, bound_ulp,
      [how](Device& device, const GImage& ink) { deposit(device, ink, how); },
      [how](Image& ink) { deposit(ink, how); });
}

KernelCase colour_case(const char* name, double bound_ulp, bool opaque) {
  return {name, {Kernel::alt_colorize}, bound_ulp, [opaque](Device& device, PixelSize size) {
            const PigmentBlock pigment = {opaque, {0.02f, 0.1f, 0.3f}, 1.06, {2.35f, 1.5f, 0.82f}};
            const std::array<float, 3> paper = {0.89f, 0.87f, 0.84f};
            const Image ink = ink_plane(size);
            const GImage print = colour_of_ink(device, device.upload(ink), pigment, paper);
            return Compared{device.download(print).data, colour_of_ink(ink, pigment, paper).data};
          }};
}

// A wide field on its own raster, a fine one and one that is finished already.
DrawnField drawn_field(PixelSize size, std::int64_t seed, bool about_its_mean) {
  Rng rng = rng_from_key({seed});
  DrawnField drawn;
  drawn.layers.push_back(stroke_layer(rng, size.w, size.h, 30.0, 4.0));
  drawn.layers.push_back(smooth_layer(rng, size.w, size.h, 1.5, 0.6));
  drawn.layers.push_back({smooth_field(rng, size.w, size.h, 0.8), 0.3, true});
  drawn.about_its_mean = about_its_mean;
  return drawn;
}

std::vector<KernelCase> field_cases() {
  const auto one_sum = [](Device& device, PixelSize size) {
    const GImage field = sum_of_layers(device, drawn_field(size, 3, true), size.w, size.h);
    return Compared{device.download(field).data,
                    sum_of_layers(drawn_field(size, 3, true), size.w, size.h).data};
  };
  const auto two_sums = [](Device& device, PixelSize size) {
    const FieldPair fields = sums_of_layers(device, drawn_field(size, 3, false),
                                            drawn_field(size, 4, true), size.w, size.h);
    Compared both{device.download(fields.first).data,
                  sum_of_layers(drawn_field(size, 3, false), size.w, size.h).data};
    for (const float v : device.download(fields.second).data) both.gpu.push_back(v);
    for (const float v : sum_of_layers(drawn_field(size, 4, true), size.w, size.h).data)
      both.cpu.push_back(v);
    return both;
  };
  const auto shift = [](Device& device, PixelSize size) {
    const Image plane = ink_plane(size);
    Image moved(size.h, size.w, 1);
    for (int y = 0; y < size.h; ++y)
      for (int x = 0; x < size.w; ++x)
        moved.at(y, x) =
            plane.at(std::clamp(y + 3, 0, size.h - 1), std::clamp(x - 5, 0, size.w - 1));
    return Compared{device.download(shifted_plane(device, device.upload(plane), -3, 5)).data,
                    moved.data};
  };
  return {{"alt_add_rows, alt_layers_fin",
           {Kernel::alt_add_rows, Kernel::alt_layers_fin},
           8.0,
           one_sum},
          {"alt_layer_acc", {Kernel::alt_layer_acc, Kernel::alt_layers_fin}, 8.0, two_sums},
          {"alt_shift", {Kernel::alt_shift}, 0.0, shift}};
}

KernelCase texture_case() {
  return {"alt_texture",
          {Kernel::alt_texture},
          bound_on(4.0, 24.0),
          [](Device& device, PixelSize size) {
            Image ink = ink_plane(size);
            const Image field = spoilt(noise_picture(size, 1, -3.0f, 3.0f, 2));
            const InkField how = {0.7, 0.22, 0.5};
            const GImage on_gpu = device.upload(ink);
            show_in_ink(device, on_gpu, device.upload(field), how);
            show_in_ink(ink, field, how);
            return Compared{device.download(on_gpu).data, ink.data};
          }};
}

KernelCase coat_case(const char* name, CoatStyle style, double bound_ulp) {
  CoatBlock coat;
  coat.style = style;
  coat.margin = 0.12;
  coat.rough = 1.5;
  return in_place(
      name, {Kernel::alt_coat, Kernel::alt_band}, bound_ulp,
      [coat](Device& device, const GImage& ink) {
        Rng rng = rng_from_key({5});
        brush_coat(device, ink, coat, rng);
      },
      [coat](Image& ink) {
        Rng rng = rng_from_key({5});
        brush_coat(ink, coat, rng);
      });
}

KernelCase relief_case(const char* name, double bound_ulp, double amount, double sheen) {
  const std::vector<Kernel> kernels = {Kernel::alt_relief_env, Kernel::alt_relief_apply};
  return {name, kernels, bound_ulp, [=](Device& device, PixelSize size) {
            ReliefBlock relief;
            relief.amount = amount, relief.sheen = sheen;
            const Image ink = ink_plane(size);
            Image print = noise_picture(size, 3, 0.0f, 1.0f, 2);
            const GImage on_gpu = device.upload(print);
            light_relief(device, on_gpu, device.upload(ink), relief, 8.0);
            light_relief(print, ink, relief, 8.0);
            return Compared{device.download(on_gpu).data, print.data};
          }};
}

std::vector<KernelCase> relief_cases() {
  const std::array<double, 2> light = {-0.72, -0.7};
  return {{"alt_relief_lit",
           {Kernel::alt_relief_lit},
           0.0,
           [light](Device& device, PixelSize size) {
             const Image height = ink_plane(size);
             const GImage slope = slope_to_light(device, device.upload(height), light);
             return Compared{device.download(slope).data, slope_to_light(height, light).data};
           }},
          {"alt_tanh16",
           {Kernel::alt_tanh16},
           bound_on(4.0, 24.0),
           [](Device& device, PixelSize size) {
             Image plane = noise_picture(size, 1, -20.0f, 20.0f);
             for (std::size_t i = 1; i < plane.data.size(); i += 2) plane.data[i] *= 0.02f;
             const GImage on_gpu = device.upload(plane);
             squash(device, on_gpu);
             elementary::tanhf(plane.data.data(), plane.data.data(), plane.data.size());
             return Compared{device.download(on_gpu).data, plane.data};
           }},
          relief_case("alt_relief_env, alt_relief_apply", 8.0, 0.6, 0.04),
          relief_case("alt_relief_env, gloss alone", 4.0, 0.0, 0.04)};
}

}  // namespace

std::vector<KernelCase> process_cases() {
  Deposit floor_and_plug = floor_and_plug_of(0.14, 0.3);
  std::vector<KernelCase> cases = {
      amount_case("alt_amount", 10.0, R"({"dmin": 0.05, "dmax": 1.55, "gamma": 1.6})", "{}"),
      amount_case("alt_amount, flare and soft ends", 10.0,
                  R"({"dmin": 0.08, "dmax": 1.32, "gamma": 1.7, "toe": 1.0, "flare": 0.02})",
                  R"({"print_ev": 0.4, "print_black": 0.5, "print_white": 0.7})"),
      deposit_case("alt_pickup, floor and plug", bound_on(4.0, 24.0), floor_and_plug),
      deposit_case("alt_pickup", 0.0, pickup_of({0.8, 0.0})),
      texture_case(),
      with_relative_bound(bound_on(2e-6, 1e-5),
                          colour_case("alt_colorize, stain", bound_on(8.0, 48.0), false)),
      colour_case("alt_colorize, ink", 0.0, true),
      coat_case("alt_coat, alt_band, brush", CoatStyle::brush, bound_on(4.0, 24.0)),
      coat_case("alt_coat, alt_band, rod", CoatStyle::rod, bound_on(4.0, 24.0))};
  for (const auto& family : {field_cases(), relief_cases()})
    for (const KernelCase& one : family) cases.push_back(one);
  return cases;
}

}  // namespace morva::gpu
