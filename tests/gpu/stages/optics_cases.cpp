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

// Shadows up to a lamp's light.
const Source kLight = noise(3, 0.0f, 4.0f);

KernelCase vignette_case(const char* name, double bound_ulp, const Json& lens) {
  return stage_case(name, bound_ulp, kLight, apply_lens, morva::apply_lens, lens, Json::object(),
                    RenderContext());
}

KernelCase graduated_case(const char* name, double bound_ulp, const Json& filter, double angle_deg,
                          double position) {
  return stage_case(
      name, bound_ulp, kLight,
      [=](Device& device, const GImage& light) {
        return apply_graduated_filter(device, light, read_graduation(filter, angle_deg, position));
      },
      [=](const Image& light) {
        return morva::apply_graduated_filter(light, filter, angle_deg, position);
      });
}

}  // namespace

KernelCases optics_cases() {
  const Json sunset = {{"stops_rgb", {0.5, 1.5, 2.5}}, {"grad", "reverse"}, {"reverse_far", 0.3}};
  return {
      stage_case("distort, barrel", 4.0, kLight, distort, morva::distort, Distortion{0.08, 0.03}),
      stage_case("distort, far outside the picture", 4.0, kLight, distort, morva::distort,
                 Distortion{1.5, -4.0}),
      stage_case("radial_scale", 4.0, kLight, part_colours, morva::part_colours, 0.013),
      vignette_case("vignette, of a lens", bound_on(8.0, 32.0),
                    {{"vignette", 0.6}, {"vignette_power", 2.5}}),
      vignette_case("vignette, the same everywhere", 4.0,
                    {{"vignette", 0.5}, {"vignette_power", 0.0}}),
      stage_case("veil_add", 4.0, kLight, add_veil, morva::add_veil, Veil{0.3, 7.0}),
      stage_case("bloom_add", 4.0, kLight, add_bloom, morva::add_bloom,
                 Bloom{0.6, 0.75f, {1.0, 0.8, 0.3}, 1.5, 6.0, 0.4}),
      // What is left of a deep ring is multiplied by four, and its error with it.
      stage_case("glow_ring", 16.0, kLight, add_glow, morva::add_glow,
                 Glow{0.8, {3.0, 4.0, 5.0}, 0.75, 0.0}),
      graduated_case("grad_filter, soft", bound_on(8.0, 32.0), {{"stops", 3.0}}, 30.0, 0.1),
      graduated_case("grad_filter, reverse", bound_on(8.0, 32.0), sunset, -100.0, -0.2),
      graduated_case("grad_filter, absurd", 4.0, {{"stops", 1e300}, {"edge_frac", 1e300}}, 1e18,
                     -1e300)};
}

}  // namespace morva::gpu
