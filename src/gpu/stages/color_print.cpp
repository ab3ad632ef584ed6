#include "gpu/stages/color_print.h"

#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/print_table.h"

namespace morva::gpu {

GImage expose_color_paper(Device& device, const PrintParams& params, const GImage& density) {
  const std::vector<float> table = print_table(params, printer_veil(device, params, density));
  GImage print = device.image(density.height, density.width, 3);
  launch_elements(device, Kernel::print_color_main, pixels(density), {word(pixels(density))}, table,
                  {density.buffer.get(), nullptr, print.buffer.get()});
  return print;
}

GImage print_color(const Frame& frame, const PrintParams& params, const GImage& density) {
  const StageTimer timer(frame, "печать");
  return expose_color_paper(frame.device, params, density);
}

}  // namespace morva::gpu
