#include "gpu/stages/color_print.h"

#include "gpu/stages/print_table.h"

namespace morva::gpu {

GImage expose_color_paper(Device& device, const PrintParams& params, const GImage& density) {
  return expose_paper(device, Kernel::print_color_main, params, density);
}

GImage print_color(const Frame& frame, const PrintParams& params, const GImage& density) {
  const StageTimer timer(frame, "печать");
  return expose_color_paper(frame.device, params, density);
}

}  // namespace morva::gpu
