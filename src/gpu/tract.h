// The GPU backend as the engine holds it: a device, the render flow on it, and the report of the
// last render.
#pragma once

#include <string>

#include "gpu/backend.h"
#include "gpu/pointwise.h"
#include "gpu/stages/frame.h"

namespace morva::gpu {

class Tract : public PointwiseDx12, public GpuBackend {
 public:
  // As Device's.
  Tract(bool software, platform::Platform& source);

  // Clears what the last render left, and sets whether the next is profiled.
  void begin_render(bool profiling);
  // Mirrors process(): same arguments, same sheet within single precision but for the grain's
  // draws. Throws GpuLost besides.
  Image render(const ProfileStore& store, const Image& input, const Json& film, const Json& lens,
               const Json& paper, const Json& options, RenderContext& ctx) override;
  std::string description() const override;

  // Where the time of the last render went, as Markdown. `title` names the render, `frame_ms` is
  // its wall time.
  std::string report_text(const std::string& title, double frame_ms) const;

 private:
  StageTimes stage_times_;
};

}  // namespace morva::gpu
