// How long the GPU may be kept busy. The system takes a device away whose job runs for seconds, and
// a desktop stutters long before, so a list ends and a dispatch is cut when its estimate passes
// these.
#pragma once

#include <atomic>

namespace morva::gpu {

// A number that one thread reads while another sets it.
class LiveNumber {
 public:
  LiveNumber(double number) : number_(number) {}
  LiveNumber(const LiveNumber& other) : number_(other.number_.load()) {}
  LiveNumber& operator=(const LiveNumber& other) {
    number_ = other.number_.load();
    return *this;
  }
  operator double() const { return number_; }

 private:
  std::atomic<double> number_;
};

struct GpuBudget {
  double submit_ms = 50.0;    // of one list; 0 or less: no limit
  double dispatch_ms = 12.0;  // of one dispatch; 0 or less: no limit
  LiveNumber scale = 1.0;     // times every estimate; doubled after each lost device, up to 16
};

// A fresh budget: the defaults, or what MORVA_GPU_SUBMIT_MS and MORVA_GPU_DISPATCH_MS say. A text
// that is no number counts as 0.
GpuBudget budget_from_environment();

// The process's own, read from the environment at first use. It outlives every device. Its
// limits are written between renders only, its scale at any time under the engine's state lock.
GpuBudget& gpu_budget();

}  // namespace morva::gpu
