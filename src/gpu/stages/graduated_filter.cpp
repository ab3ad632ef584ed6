#include "gpu/stages/graduated_filter.h"

#include "gpu/kernels/optics_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"
#include "image/held.h"

namespace morva::gpu {

namespace {

// Absurd numbers stay finite, so that none of them times 0 is no number.
float table_number(double value) {
  return static_cast<float>(held(value, -3e38, 3e38));
}

std::vector<float> graduation_table(const Graduation& g, const GraduationUnits& units) {
  namespace at = graduation_layout;
  std::vector<float> table(at::kCount);
  table[at::kHalfLong] = units.half_long_px;
  table[at::kCentreY] = units.centre_y;
  table[at::kCentreX] = units.centre_x;
  table[at::kCosine] = table_number(g.cos_angle);
  table[at::kSine] = table_number(g.sin_angle);
  table[at::kPosition] = table_number(g.position);
  table[at::kEdge] = table_number(g.edge);
  table[at::kFarShare] = g.reverse ? table_number(g.far_density) : 1.0f;
  table[at::kFading] = table_number(g.fading);
  for (std::size_t k = 0; k < 3; ++k) table[at::kStops + k] = table_number(g.stops[k]);
  return table;
}

}  // namespace

GImage apply_graduated_filter(Device& device, const GImage& picture, const Graduation& graduation) {
  GImage out = device.image(picture.height, picture.width, 3);
  launch_elements(device, Kernel::grad_filter, pixels(picture),
                  {word(picture.height), word(picture.width)},
                  graduation_table(graduation, graduation_units(picture.height, picture.width)),
                  {picture.buffer.get(), out.buffer.get()});
  return out;
}

}  // namespace morva::gpu
