#include "gpu/stages/bw_print.h"

#include <utility>

#include "gpu/stages/develop_color.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/print_table.h"

namespace morva::gpu {

GImage density_on_paper(const Frame& frame, const GImage& density) {
  return weighted_plane(frame.device, density, paper_weights(frame.paper));
}

GImage expose_bw_paper(Device& device, const PrintParams& params, const GImage& density) {
  return expose_paper(device, Kernel::print_bw_main, params, density);
}

GImage print_bw(const Frame& frame, const PrintParams& params, const GImage& density) {
  const StageTimer timer(frame, "печать");
  return expose_bw_paper(frame.device, params, density);
}

GImage print_color_on_bw(const Frame& frame, GImage scene) {
  const GImage density = density_on_paper(frame, develop_color(frame, std::move(scene)));
  check_cancel(frame.ctx);
  return print_bw(frame, print_params_bw(frame.paper, frame.opts), density);
}

}  // namespace morva::gpu
