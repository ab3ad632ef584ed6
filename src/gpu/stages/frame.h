// What every stage of development and print on the GPU is handed, and how its time is taken.
#pragma once

#include <map>
#include <string>

#include "gpu/device.h"
#include "image/render_context.h"
#include "profiles/json_access.h"

namespace morva::gpu {

using StageTimes = std::map<std::string, double>;  // wall milliseconds by stage label

// Built once a render, read-only.
struct Frame {
  Device& device;
  const Json& stock;  // resolved, with its seeds
  const Json& paper;
  const Json& opts;
  double um_per_px = 1.0;         // a pixel's size on the film, micrometres
  const Image* uneven = nullptr;  // field of uneven development, or none
  RenderContext& ctx;
  StageTimes& stage_times;
};

// The field of uneven development on the GPU, uploaded anew; without a buffer where there is none.
GImage uneven_on_gpu(const Frame& frame);

// Takes a stage's time while it lives, on the wall clock and on the GPU; nothing unless profiling.
class StageTimer {
 public:
  // `label` must outlive the timer.
  StageTimer(Device& device, StageTimes& stage_times, const char* label);
  explicit StageTimer(const Frame& frame, const char* label)
      : StageTimer(frame.device, frame.stage_times, label) {}
  ~StageTimer();
  StageTimer(const StageTimer&) = delete;
  StageTimer& operator=(const StageTimer&) = delete;

 private:
  Device& device_;
  StageTimes& stage_times_;
  const char* label_;
  std::int64_t begin_ns_ = 0;
  bool on_ = false;
};

}  // namespace morva::gpu
