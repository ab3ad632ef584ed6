#include "gpu/tract.h"

#include "gpu/flow.h"
#include "gpu/profile_report.h"

namespace morva::gpu {

Tract::Tract(bool software, platform::Platform& source) : PointwiseDx12(software, source) {}

void Tract::begin_render(bool profiling) {
  device().abandon();  // a render that failed may have left its list open
  stage_times_.clear();
  device().reset_stats();
  device().set_profiling(profiling);
}

Image Tract::render(const ProfileStore& store, const Image& input, const Json& film,
                    const Json& lens, const Json& paper, const Json& options, RenderContext& ctx) {
  Image sheet =
      render_on_gpu(device(), stage_times_, store, input, film, lens, paper, options, ctx);
  device().trim(false);
  return sheet;
}

std::string Tract::description() const {
  return PointwiseDx12::description();
}

std::string Tract::report_text(const std::string& title, double frame_ms) const {
  return profile_report(title, frame_ms, device().stats(), stage_times_);
}

}  // namespace morva::gpu
