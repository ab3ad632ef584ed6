#include "gpu/stages/lens.h"

#include <utility>

#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/lens_geometry.h"
#include "gpu/stages/lens_scatter.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/round_trip.h"
#include "image/elementary.h"
#include "optics/field_aberrations.h"
#include "optics/lens_parameters.h"

namespace morva::gpu {

namespace {

// The blur itself is made on the CPU, at a size that bounds its cost.
GImage blur_field(Device& device, GImage picture, const FieldBlur& field,
                  const RenderContext& ctx) {
  const auto reduction = field_reduction(field, picture.width, picture.height);
  if (!reduction) return picture;
  GImage difference = on_cpu(
      device, resize(device, picture, reduction->w, reduction->h, kResizeTriangle),
      [&](Image reduced) { return field_difference(std::move(reduced), field, *reduction, ctx); });
  difference = resize(device, difference, picture.width, picture.height, kResizeTriangle);
  picture = mix(device, picture, 1.0f, difference, 1.0f);
  clamp_light(device, picture, false);
  return picture;
}

void darken_corners(Device& device, const GImage& picture, const Vignette& vignette) {
  if (!(vignette.strength > 0.0)) return;
  launch_elements(device, Kernel::vignette, pixels(picture),
                  {word(picture.height), word(picture.width)},
                  {static_cast<float>(vignette.strength), vignette.power,
                   elementary::powf(0.0f, vignette.power)},
                  {picture.buffer.get()});
}

void colour_by_glass(Device& device, const GImage& picture,
                     const std::optional<std::array<double, 3>>& transmission) {
  if (!transmission) return;
  std::array<float, 3> gains;
  for (std::size_t k = 0; k < 3; ++k) gains[k] = static_cast<float>((*transmission)[k]);
  multiply_channels(device, picture, gains);
}

}  // namespace

GImage apply_lens(Device& device, GImage picture, const Json& lens, const Json& opts,
                  const RenderContext& ctx) {
  const LensParameters p = read_lens(lens, opts, picture.width, picture.height);
  picture = distort(device, std::move(picture), p.distortion);
  add_veil(device, picture, p.veil);
  check_cancel(ctx);
  add_bloom(device, picture, p.bloom);
  check_cancel(ctx);
  picture = add_glow(device, std::move(picture), p.glow);
  check_cancel(ctx);
  picture = blur_field(device, std::move(picture), p.field, ctx);
  part_colours(device, picture, p.lateral_colour);
  check_cancel(ctx);
  darken_corners(device, picture, p.vignette);
  picture = soften(device, std::move(picture), p.softness);
  check_cancel(ctx);
  defocus_colours(device, picture, p.axial_sigma_px);
  colour_by_glass(device, picture, p.transmission);
  clamp_light(device, picture, false);
  return picture;
}

}  // namespace morva::gpu
