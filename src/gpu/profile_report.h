// Where a render's time went, as a host shows it: Markdown, a line of totals, the slow lists and
// dispatches, a table by stage and one by kernel.
#pragma once

#include <string>

#include "gpu/render_stats.h"
#include "gpu/stages/frame.h"

namespace morva::gpu {

// The GPU time of a stage and that of the kernels in it overlap; the total counts kernels. Stages
// stand in the order of their labels' bytes. Throws std::out_of_range for a kernel without calls.
std::string profile_report(const std::string& title, double frame_ms, const RenderStats& stats,
                           const StageTimes& stage_times);

}  // namespace morva::gpu
