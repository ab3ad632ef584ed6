#include "gpu/stages/frame_placement.h"

#include <vector>

#include "finish/holder_edge.h"
#include "flow/sheet.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

namespace {

// Both sizes and the picture's upper left corner on the canvas.
std::vector<std::uint32_t> geometry(const GImage& canvas, const GImage& picture, std::int32_t top,
                                    std::int32_t left) {
  return {word(canvas.height), word(canvas.width), word(picture.height),
          word(picture.width), word(top),          word(left)};
}

// The light that the window lets through at each pixel of the picture.
GImage window_shape(Device& device, const GImage& picture, const PictureWindow& window) {
  Image shape(picture.height, picture.width, 1, 1.0f);
  darken_outside_window(shape, window);
  return device.upload(shape);
}

}  // namespace

GImage place_on_film(Device& device, const GImage& picture, const RebatePlan& plan) {
  if (!plan.has_canvas()) return picture;
  GImage canvas = device.image(plan.h, plan.w, 3);
  std::vector<std::uint32_t> constants =
      geometry(canvas, picture, plan.margins[kTopSide], plan.margins[kLeftSide]);
  GImage shape;
  if (darkens_edges(plan.window)) shape = window_shape(device, picture, plan.window);
  constants.push_back(shape.buffer ? 1u : 0u);
  launch_elements(device, Kernel::place_frame, pixels(canvas), constants, {},
                  {picture.buffer.get(), shape.buffer.get(), canvas.buffer.get()});
  return canvas;
}

void lay_base_outside(Device& device, const GImage& print, const GImage& mask,
                      const std::array<float, 3>& base) {
  launch_elements(device, Kernel::composite_base, pixels(print), {word(pixels(print))},
                  {base.begin(), base.end()}, {print.buffer.get(), mask.buffer.get()});
}

GImage pad_border(Device& device, const GImage& picture, double border,
                  const std::array<float, 3>& rgb) {
  if (border <= 0.0) return picture;
  const PixelSize size = bordered_size({picture.width, picture.height}, border);
  GImage sheet = device.image(size.h, size.w, 3);
  const std::int32_t margin = (size.w - picture.width) / 2;
  launch_elements(device, Kernel::pad_border, pixels(sheet),
                  geometry(sheet, picture, margin, margin), {rgb.begin(), rgb.end()},
                  {picture.buffer.get(), sheet.buffer.get()});
  return sheet;
}

}  // namespace morva::gpu
