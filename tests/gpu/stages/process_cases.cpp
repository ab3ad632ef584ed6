#include <algorithm>
#include <cmath>

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
Image ink_plane(PixelSize size) {
  Image ink = noise_picture(size, 1, -0.2f, 1.2f);
  for (float& d : ink.data) d = std::clamp(d, 0.0f, 1.0f);
  return ink;
}

Image some_spoilt_density(PixelSize size) {
  Image density = noise_picture(size, 1, -2.0f, 2.0f);
  if (density.data.size() <= 40) return density;
  density.data[7] = NAN;
  density.data[20] = INFINITY;
  density.data[33] = -INFINITY;
  return density;
}

KernelCase amount_case(const char* name, const Source& density, const Json& paper,
                       const Json& options) {
  return stage_case(
      name, 10.0, density,
      [=](Device& device, const GImage& plane) {
        return ink_of_negative(device, plane, print_params_bw(paper, options));
      },
      [=](const Image& plane) { return morva::ink_of_negative(plane, paper, options); });
}

KernelCase colour_case(const char* name, double bound_ulp, bool opaque) {
  return stage_case(name, bound_ulp, ink_plane, colour_of_ink, morva::colour_of_ink,
                    PigmentBlock{opaque, {0.02f, 0.1f, 0.3f}, 1.06, {2.35f, 1.5f, 0.82f}},
                    std::array{0.89f, 0.87f, 0.84f});
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

Compared one_sum(Device& device, PixelSize size) {
  const GImage field = sum_of_layers(device, drawn_field(size, 3, true), size.w, size.h);
  return {device.download(field).data,
          sum_of_layers(drawn_field(size, 3, true), size.w, size.h).data};
}

Compared two_sums(Device& device, PixelSize size) {
  const FieldPair fields = sums_of_layers(device, drawn_field(size, 3, false),
                                          drawn_field(size, 4, true), size.w, size.h);
  Compared both{device.download(fields.first).data,
                sum_of_layers(drawn_field(size, 3, false), size.w, size.h).data};
  for (const float v : device.download(fields.second).data) both.gpu.push_back(v);
  for (const float v : sum_of_layers(drawn_field(size, 4, true), size.w, size.h).data)
    both.cpu.push_back(v);
  return both;
}

Image moved_up_and_right(const Image& plane) {
  Image moved(plane.h, plane.w, 1);
  for (int y = 0; y < plane.h; ++y)
    for (int x = 0; x < plane.w; ++x)
      moved.at(y, x) =
          plane.at(std::clamp(y + 3, 0, plane.h - 1), std::clamp(x - 5, 0, plane.w - 1));
  return moved;
}

KernelCase coat_case(const char* name, CoatStyle style) {
  CoatBlock coat;
  coat.style = style;
  coat.margin = 0.12;
  coat.rough = 1.5;
  return stage_case(
      name, bound_on(4.0, 24.0), ink_plane,
      [coat](Device& device, const GImage& ink) {
        Rng rng = rng_from_key({5});
        brush_coat(device, ink, coat, rng);
      },
      [coat](Image& ink) {
        Rng rng = rng_from_key({5});
        brush_coat(ink, coat, rng);
      });
}

KernelCase relief_case(const char* name, double bound_ulp, double amount) {
  ReliefBlock relief;
  relief.amount = amount;
  relief.sheen = 0.04;
  return stage_case(name, bound_ulp, noise(3, 0.0f, 1.0f, 2), light_relief, morva::light_relief,
                    Source(ink_plane), relief, 8.0);
}

// Every other number is small.
Image steep_and_gentle(PixelSize size) {
  Image plane = noise_picture(size, 1, -20.0f, 20.0f);
  for (std::size_t i = 1; i < plane.data.size(); i += 2) plane.data[i] *= 0.02f;
  return plane;
}

}  // namespace

KernelCases process_cases() {
  return {
      amount_case("alt_amount", some_spoilt_density,
                  {{"dmin", 0.05}, {"dmax", 1.55}, {"gamma", 1.6}}, Json::object()),
      amount_case("alt_amount, flare and soft ends", noise(1, -2.0f, 2.0f),
                  {{"dmin", 0.08}, {"dmax", 1.32}, {"gamma", 1.7}, {"toe", 1.0}, {"flare", 0.02}},
                  {{"print_ev", 0.4}, {"print_black", 0.5}, {"print_white", 0.7}}),
      stage_case("alt_pickup, floor and plug", bound_on(4.0, 24.0), ink_plane, deposit,
                 morva::deposit, floor_and_plug_of(0.14, 0.3)),
      stage_case("alt_pickup", 0.0, ink_plane, deposit, morva::deposit, pickup_of({0.8, 0.0})),
      stage_case("alt_texture", bound_on(4.0, 24.0), ink_plane, show_in_ink, morva::show_in_ink,
                 spoilt(noise(1, -3.0f, 3.0f, 2)), InkField{0.7, 0.22, 0.5}),
      with_relative_bound(bound_on(2e-6, 1e-5),
                          colour_case("alt_colorize, stain", bound_on(8.0, 48.0), false)),
      colour_case("alt_colorize, ink", 0.0, true),
      coat_case("alt_coat, alt_band, brush", CoatStyle::brush),
      coat_case("alt_coat, alt_band, rod", CoatStyle::rod),
      {"alt_add_rows, alt_layers_fin", 8.0, one_sum},
      {"alt_layer_acc, alt_layers_fin", 8.0, two_sums},
      stage_case("alt_shift", 0.0, ink_plane, shifted_plane, moved_up_and_right, -3, 5),
      stage_case("alt_relief_lit", 0.0, ink_plane, slope_to_light, morva::slope_to_light,
                 std::array{-0.72, -0.7}),
      stage_case("alt_tanh16", bound_on(4.0, 24.0), steep_and_gentle, squash,
                 [](Image& plane) {
                   elementary::tanhf(plane.data.data(), plane.data.data(), plane.data.size());
                 }),
      relief_case("alt_relief_env, alt_relief_apply", 8.0, 0.6),
      relief_case("alt_relief_env, alt_relief_apply, gloss alone", 4.0, 0.0),
  };
}

}  // namespace morva::gpu
