// How long the GPU may be kept busy. The system takes a device away whose job runs for seconds, and
// a desktop stutters long before, so a list ends and a dispatch is cut when its estimate passes
// these.
#pragma once

namespace morva::gpu {

struct GpuBudget {
  double submit_ms = 50.0;    // of one list; 0 or less: no limit
  double dispatch_ms = 12.0;  // of one dispatch; 0 or less: no limit
  double scale = 1.0;         // times every estimate; doubled after each lost device, up to 16
};

// A fresh budget: the defaults, or what MORVA_GPU_SUBMIT_MS and MORVA_GPU_DISPATCH_MS say. A text
// that is no number counts as 0.
GpuBudget budget_from_environment();

// The process's own, read from the environment at first use. It outlives every device. Not locked:
// written between renders only.
GpuBudget& gpu_budget();

}  // namespace morva::gpu
