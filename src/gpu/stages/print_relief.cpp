#include "gpu/stages/print_relief.h"

#include "gpu/stages/element_launch.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/sums.h"

namespace morva::gpu {

namespace {

GImage light_on_slopes(Device& device, const GImage& ink, const ReliefBlock& relief,
                       double px_per_mm) {
  const GImage height = device.image(ink.height, ink.width, 1);
  blur_plane(device, plane_of(ink), plane_of(height),
             relief_smooth_px(relief, ink.width, ink.height, px_per_mm));
  const GImage slope = slope_to_light(device, height, relief.light);
  const float scale = light_per_slope(relief, mean_deviation(device, plane_of(slope)).deviation);
  multiply_channels(device, slope, {scale, scale, scale});
  squash(device, slope);
  return slope;
}

}  // namespace

GImage slope_to_light(Device& device, const GImage& height, const std::array<double, 2>& light) {
  GImage slope = device.image(height.height, height.width, 1);
  launch_elements(device, Kernel::alt_relief_lit, pixels(height),
                  {word(height.height), word(height.width)},
                  {static_cast<float>(light[0]), static_cast<float>(light[1])},
                  {height.buffer.get(), slope.buffer.get()});
  return slope;
}

void squash(Device& device, const GImage& plane) {
  launch_elements(device, Kernel::alt_tanh16, pixels(plane), {word(pixels(plane))}, {},
                  {plane.buffer.get()});
}

void light_relief(Device& device, const GImage& print, const GImage& ink, const ReliefBlock& relief,
                  double px_per_mm) {
  if (!shows(relief)) return;
  const bool slopes = has_slopes(relief);
  const GImage lit = slopes ? light_on_slopes(device, ink, relief, px_per_mm)
                            : device.image(ink.height, ink.width, 1);
  const GImage shade = device.image(ink.height, ink.width, 1);
  const GImage gloss = device.image(ink.height, ink.width, 1);
  launch_elements(device, Kernel::alt_relief_env, pixels(ink),
                  {word(pixels(ink)), slopes ? 1u : 0u}, {kGlossPower},
                  {lit.buffer.get(), ink.buffer.get(), shade.buffer.get(), gloss.buffer.get()});
  launch_elements(device, Kernel::alt_relief_apply, pixels(print), {word(pixels(print))},
                  {static_cast<float>(relief.sheen)},
                  {print.buffer.get(), lit.buffer.get(), shade.buffer.get(), gloss.buffer.get()});
}

}  // namespace morva::gpu
