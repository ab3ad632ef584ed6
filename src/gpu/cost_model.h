// How long a kernel takes, learned from the GPU's timestamps. A work unit is one thread times its
// filter taps. Kernels branch on their constants, so a cost is kept for each set of constants, and
// the worst ever seen of the kernel stands in for a set not met yet.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "gpu/kernel_table.h"

namespace morva::gpu {

struct CostModel {
  std::mutex mutex;
  std::array<double, kKernelCount> worst_ns{};          // a work unit; 0: never measured
  std::unordered_map<std::uint64_t, double> ns_by_key;  // a work unit
};

// The process's own; it outlives every device, so a rebuilt one starts with what was learned.
CostModel& cost_model();

// Work units of one thread: the taps of a resampling, both sides and the centre of a Gaussian.
double taps_of(Kernel kernel, const std::vector<std::uint32_t>& constants);

// One number for a kernel and its constants but the sixteenth, which holds the launch's shape.
std::uint64_t cost_key(Kernel kernel, const std::vector<std::uint32_t>& constants);

// Nanoseconds a work unit. Takes the model's mutex.
double cost_ns(CostModel& model, Kernel kernel, std::uint64_t key);

// Takes in one measurement: a slower one counts at once, a faster one at 20% a time. Takes the
// model's mutex.
void learn(CostModel& model, Kernel kernel, std::uint64_t key, double ns);

}  // namespace morva::gpu
