// A host whose GPU is the software device passed off as hardware, on a clock that is turned.
#pragma once

#include "engine/engine_state.h"
#include "engine/host.h"
#include "gpu/cost_model.h"
#include "gpu/disguised_platform.h"
#include "gpu/gpu_budget.h"

namespace morva {

class GpuHostTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    engine_state().gpu.source = &platform();
    start_afresh();
  }
  void TearDown() override {
    morva_release_gpu();
    clear_hooks();
  }
  static gpu::DisguisedPlatform& platform() {
    static gpu::DisguisedPlatform platform;
    return platform;
  }

  // A ready device and no memory of losses.
  static void start_afresh() {
    clear_hooks();
    platform().ahead_ns += 1'000'000'000'000;
    MorvaError err;
    ASSERT_EQ(0, morva_set_backend("gpu", &err)) << err.message;
    if (state().lost != 0) {
      ASSERT_EQ(0, morva_gpu_retry(&err)) << err.message;
    }
    morva_gpu_test_hook(7, 0);
  }
  static void clear_hooks() {
    morva_gpu_test_hook(0, 0);
    gpu::gpu_budget() = gpu::GpuBudget{};
    gpu::cost_model().ns_by_key.clear();
    gpu::cost_model().worst_ns.fill(0.0);
  }
  static MorvaGpuState state() {
    MorvaGpuState state;
    morva_gpu_state(&state);
    return state;
  }
};

}  // namespace morva
