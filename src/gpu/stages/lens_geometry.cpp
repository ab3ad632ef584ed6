#include "gpu/stages/lens_geometry.h"

#include "gpu/kernels/optics_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/pixel_ops.h"
#include "optics/lens_geometry.h"

namespace morva::gpu {

namespace {

std::vector<float> joined(std::vector<float> first, const std::vector<float>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

void magnify_channel(Device& device, const GImage& picture, std::int32_t k, double factor) {
  const GImage source = device.image(picture.height, picture.width, 1);
  const Plane from = plane_of(source), to = plane_of(picture, k);
  copy_plane(device, to, from);
  launch_elements(
      device, Kernel::radial_scale, pixels(picture),
      {word(picture.height), word(picture.width), word(from.stride), word(from.offset),
       word(to.stride), word(to.offset)},
      joined(magnified_axis(picture.width, factor), magnified_axis(picture.height, factor)),
      {from.buffer.get(), to.buffer.get()});
}

}  // namespace

GImage distort(Device& device, GImage picture, const Distortion& distortion) {
  if (distortion.k1 == 0.0 && distortion.k2 == 0.0) return picture;
  const CentredAxes axes = centred_axes(picture.height, picture.width);
  namespace at = distort_layout;
  std::vector<float> table(at::kCount);
  table[at::kK1] = static_cast<float>(distortion.k1);
  table[at::kK2] = static_cast<float>(distortion.k2);
  table[at::kHalfDiagonal] = axes.half_diagonal_px;
  table[at::kCentreY] = axes.centre_y;
  table[at::kCentreX] = axes.centre_x;
  const std::vector<float> places = joined(axes.x, axes.y);
  const auto places_buffer = device.upload(places.data(), places.size());
  GImage out = device.image(picture.height, picture.width, 3);
  launch_elements(device, Kernel::distort, pixels(picture),
                  {word(picture.height), word(picture.width)}, table,
                  {picture.buffer.get(), out.buffer.get(), places_buffer.get()});
  return out;
}

void part_colours(Device& device, const GImage& picture, double lateral_colour) {
  if (!(lateral_colour > 0.0)) return;
  magnify_channel(device, picture, 0, 1.0 + lateral_colour);
  magnify_channel(device, picture, 2, 1.0 - lateral_colour);
}

}  // namespace morva::gpu
