// What tests of the device share: a machine, a device on it, a process that has learned nothing.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "gpu/backend_holder.h"
#include "gpu/cost_model.h"
#include "gpu/device.h"
#include "gpu/fake_platform.h"
#include "gpu/gpu_budget.h"
#include "gpu/gpu_error.h"
#include "gpu/test_hooks.h"
#include "input/failure_of.h"

namespace morva::gpu {

using testing_files::failure_of;

inline void forget_everything() {
  gpu_budget() = GpuBudget{};
  test_hooks() = TestHooks{};
  cost_model().ns_by_key.clear();
  cost_model().worst_ns.fill(0.0);
}

// The kernel that copies Q[0] floats from U0 to U2, as every thread of the launch would.
inline void run_copy(const FakeDispatch& call) {
  if (call.kernel != "copy_main") return;
  const std::uint64_t row_threads = std::uint64_t{call.groups_x} * 256;
  for (std::uint64_t y = 0; y < call.groups_y; ++y) {
    for (std::uint64_t x = 0; x < row_threads; ++x) {
      const std::uint64_t id = (y + call.band_row) * call.constants[15] + x;
      if (id < call.constants[0]) call.buffers[2][id] = call.buffers[0][id];
    }
  }
}

// Copies `count` floats by a kernel.
inline void copy_by_kernel(Device& device, Buffer& from, Buffer& to, std::uint32_t count) {
  const LaunchGrid shape = grid(count);
  device.dispatch(Kernel::copy_main, shape.groups_x, shape.groups_y, {count}, {1.0f},
                  {&from, nullptr, &to});
}

class GpuTest : public ::testing::Test {
 protected:
  void SetUp() override {
    forget_everything();
    machine.run_kernel = run_copy;
    holder.source = &machine;
  }
  void TearDown() override {
    release_backend(holder);
    device.reset();
    forget_everything();
  }

  Device& make(bool software = false) { return device.emplace(software, machine); }
  // A device that has just run a list, so that no pause counts.
  Device& make_busy() {
    make();
    device->begin_mark("разогрев");
    device->end_mark();
    device->submit();
    device->reset_stats();
    machine.calls.clear();
    return *device;
  }
  void run(Kernel kernel, std::uint32_t groups, const std::vector<std::uint32_t>& constants = {}) {
    device->dispatch(kernel, groups, 1, constants, {}, {});
  }
  // Nanoseconds a work unit of the next dispatch with these constants.
  static void set_cost(Kernel kernel, double ns, const std::vector<std::uint32_t>& constants = {}) {
    cost_model().ns_by_key[cost_key(kernel, constants)] = ns;
  }

  FakePlatform machine;
  std::optional<Device> device;
  BackendHolder holder;
};

inline std::vector<float> ramp(std::size_t count) {
  std::vector<float> floats(count);
  for (std::size_t i = 0; i < count; ++i) floats[i] = static_cast<float>(i) * 0.25f - 7.0f;
  return floats;
}

}  // namespace morva::gpu
