#include "gpu/stages/frame.h"

#include <chrono>

namespace morva::gpu {

namespace {

std::int64_t now_ns() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

GImage uneven_on_gpu(const Frame& frame) {
  return frame.uneven != nullptr ? frame.device.upload(*frame.uneven) : GImage{};
}

StageTimer::StageTimer(Device& device, StageTimes& stage_times, const char* label)
    : device_(device), stage_times_(stage_times), label_(label), on_(device.profiling()) {
  if (!on_) return;
  begin_ns_ = now_ns();
  device_.begin_mark(label_);
}

StageTimer::~StageTimer() {
  if (!on_) return;
  try {
    device_.end_mark();
    stage_times_[label_] += static_cast<double>(now_ns() - begin_ns_) * 1e-6;
  } catch (...) {  // a device lost here tells so at its next use
  }
}

}  // namespace morva::gpu
