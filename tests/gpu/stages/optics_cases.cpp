#include "gpu/stages/graduated_filter.h"
#include "gpu/stages/kernel_case.h"
#include "gpu/stages/lens.h"
#include "gpu/stages/lens_geometry.h"
#include "gpu/stages/lens_scatter.h"
#include "optics/graduated_filter.h"
#include "optics/lens.h"
#include "optics/lens_geometry.h"
#include "optics/lens_scatter.h"

namespace morva::gpu {

namespace {

// Light of the shadows up to a lamp's.
Image light_of(PixelSize size) {
  return noise_picture(size, 3, 0.0f, 4.0f);
}

// A case that runs both stages on the same picture.
KernelCase stage_case(std::string name, Kernel kernel, double bound_ulp,
                      std::function<GImage(Device&, GImage, PixelSize)> on_gpu,
                      std::function<Image(Image)> on_cpu) {
  return {std::move(name), {kernel}, bound_ulp, [=](Device& device, PixelSize size) {
            const Image light = light_of(size);
            const GImage out = on_gpu(device, device.upload(light), size);
            return Compared{device.download(out).data, on_cpu(light).data};
          }};
}

KernelCase distort_case(std::string name, Distortion bent) {
  return stage_case(
      "distort, " + std::move(name), Kernel::distort, 4.0,
      [=](Device& device, GImage light, PixelSize) { return distort(device, light, bent); },
      [=](Image light) { return morva::distort(std::move(light), bent); });
}

KernelCase vignette_case(std::string name, double bound_ulp, const Json& lens) {
  return stage_case(
      "vignette, " + std::move(name), Kernel::vignette, bound_ulp,
      [=](Device& device, GImage light, PixelSize) {
        return apply_lens(device, light, lens, Json::object(), RenderContext());
      },
      [=](Image light) {
        return morva::apply_lens(std::move(light), lens, Json::object(), RenderContext());
      });
}

KernelCase graduated_case(std::string name, double bound_ulp, const Json& filter, double angle_deg,
                          double position) {
  return stage_case(
      "grad_filter, " + std::move(name), Kernel::grad_filter, bound_ulp,
      [=](Device& device, GImage light, PixelSize) {
        return apply_graduated_filter(device, light, read_graduation(filter, angle_deg, position));
      },
      [=](Image light) {
        return morva::apply_graduated_filter(std::move(light), filter, angle_deg, position);
      });
}

KernelCase radial_scale_case() {
  return stage_case(
      "radial_scale", Kernel::radial_scale, 4.0,
      [](Device& device, GImage light, PixelSize) {
        part_colours(device, light, 0.013);
        return light;
      },
      [](Image light) { return morva::part_colours(std::move(light), 0.013); });
}

KernelCase veil_case() {
  constexpr Veil veil = {0.3, 7.0};
  return stage_case(
      "veil_add", Kernel::veil_add, 4.0,
      [=](Device& device, GImage light, PixelSize) {
        add_veil(device, light, veil);
        return light;
      },
      [=](Image light) { return morva::add_veil(std::move(light), veil); });
}

KernelCase bloom_case() {
  constexpr Bloom bloom = {0.6, 0.75f, {1.0, 0.8, 0.3}, 1.5, 6.0, 0.4};
  return stage_case(
      "bloom_add", Kernel::bloom_add, 4.0,
      [=](Device& device, GImage light, PixelSize) {
        add_bloom(device, light, bloom);
        return light;
      },
      [=](Image light) { return morva::add_bloom(std::move(light), bloom); });
}

// What is left of a deep ring is multiplied by four, and its error with it.
KernelCase ring_case() {
  constexpr Glow glow = {0.8, {3.0, 4.0, 5.0}, 0.75, 0.0};
  return stage_case(
      "glow_ring", Kernel::glow_ring, 16.0,
      [=](Device& device, GImage light, PixelSize) { return add_glow(device, light, glow); },
      [=](Image light) { return morva::add_glow(std::move(light), glow); });
}

}  // namespace

std::vector<KernelCase> optics_cases() {
  const Json sunset = {{"stops_rgb", {0.5, 1.5, 2.5}}, {"grad", "reverse"}, {"reverse_far", 0.3}};
  return {
      distort_case("barrel", {0.08, 0.03}),
      distort_case("far outside the picture", {1.5, -4.0}),
      radial_scale_case(),
      vignette_case("of a lens", bound_on(8.0, 32.0), {{"vignette", 0.6}, {"vignette_power", 2.5}}),
      vignette_case("the same everywhere", 4.0, {{"vignette", 0.5}, {"vignette_power", 0.0}}),
      veil_case(),
      bloom_case(),
      ring_case(),
      graduated_case("soft", bound_on(8.0, 32.0), {{"stops", 3.0}}, 30.0, 0.1),
      graduated_case("reverse", bound_on(8.0, 32.0), sunset, -100.0, -0.2),
      graduated_case("absurd", 4.0, {{"stops", 1e300}, {"edge_frac", 1e300}}, 1e18, -1e300)};
}

}  // namespace morva::gpu
