// The end of a list: what its timestamps teach, what they report, what is left when it is dropped.

#include <algorithm>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

class Submit : public GpuTest {
 protected:
  // A millisecond for every dispatch.
  Device& make_busy_and_slow() {
    make_busy();
    machine.kernel_ticks = [](const std::string&) { return 1'000'000; };
    return *device;
  }
  double total_ms(const std::string& name) { return device->stats().gpu_ms_by_name.at(name); }
  // How often it was timed.
  std::uint64_t times(const std::string& name) {
    const auto& calls = device->stats().calls_by_name;
    return calls.contains(name) ? calls.at(name) : 0;
  }
};

TEST_F(Submit, LearnsSlowerAtOnceAndFasterByAFifth) {
  make_busy().submit();
  EXPECT_TRUE(machine.calls.empty());  // without a list
  // A clock too coarse to see it teaches nothing, one that runs backwards neither.
  for (const auto& told :
       {std::pair{100.0, 100.0}, {50.0, 90.0}, {180.0, 180.0}, {0.0, 180.0}, {-1.0, 180.0}}) {
    const double ns = told.first;
    machine.kernel_ticks = [ns](const std::string&) {
      return static_cast<std::uint64_t>(std::max(ns, 0.0) * 256.0);
    };
    if (ns < 0.0) machine.forced_ticks = {{0, 1000}, {1, 999}};
    device->reset_stats();
    run(Kernel::clampv, 1);
    device->submit();
    EXPECT_DOUBLE_EQ(told.second, cost_model().ns_by_key.at(cost_key(Kernel::clampv, {})));
  }
  EXPECT_EQ(0.0, total_ms("clampv"));
  EXPECT_EQ(1u, times("clampv"));
  EXPECT_DOUBLE_EQ(180.0, cost_model().worst_ns[row_of(Kernel::clampv)]);
}

TEST_F(Submit, WhatIsLearnedDoesNotGrowWithoutEnd) {
  for (std::uint64_t seed = 0; seed < 200'000; ++seed) {
    learn(cost_model(), Kernel::grain_normals, seed, 3.0);
    ASSERT_LE(cost_model().ns_by_key.size(), 65'536u);
  }
  EXPECT_EQ(3.0, cost_ns(cost_model(), Kernel::grain_normals, 199'999));
  EXPECT_EQ(6.0, cost_ns(cost_model(), Kernel::grain_normals, 0));
}

TEST_F(Submit, AStageAcrossListsIsTheSumOfItsPieces) {
  make_busy_and_slow();
  device->begin_mark("печать");
  device->begin_mark("сушка");
  run(Kernel::clampv, 1);
  device->submit();
  EXPECT_DOUBLE_EQ(1.0, total_ms("печать"));
  machine.gpu_ticks += 500'000'000;  // what other programs did between the lists
  run(Kernel::clampv, 1);
  device->end_mark();
  run(Kernel::clampv, 1);
  device->end_mark();
  device->end_mark();  // one too many
  device->begin_mark("скан");
  run(Kernel::clampv, 1);
  device->submit();
  machine.gpu_ticks += 500'000'000;
  device->end_mark();  // right after a list
  device->submit();
  EXPECT_DOUBLE_EQ(3.0, total_ms("печать"));
  EXPECT_DOUBLE_EQ(2.0, total_ms("сушка"));
  EXPECT_DOUBLE_EQ(1.0, total_ms("скан"));
  EXPECT_EQ(2u, times("печать"));
  EXPECT_EQ(0u, device->stats().max_ms_by_name.count("печать"));
}

TEST_F(Submit, AFullHeapLosesTimesAndNoWork) {
  make_busy();
  gpu_budget() = {0.0, 0.0, 1.0};
  for (int i = 0; i < 10'000; ++i) run(Kernel::clampv, 1);
  device->begin_mark("без места");
  device->end_mark();
  EXPECT_EQ(10'000u, device->pool_stats().pending_dispatches);
  device->submit();
  EXPECT_EQ(10'000u, device->stats().dispatches);
  EXPECT_EQ(10'000u - 2048u, device->stats().unmarked);
  EXPECT_EQ(2048u, times("clampv"));
  EXPECT_EQ(1u, machine.count(Op::execute));
  EXPECT_EQ(0u, times("без места"));
  EXPECT_EQ(0u, device->pool_stats().pending_dispatches);
}

TEST_F(Submit, AStageWithoutRoomEndsNoOther) {
  make_busy_and_slow();
  gpu_budget() = {0.0, 0.0, 1.0};
  device->begin_mark("печать");
  for (int i = 0; i < 2'100; ++i) run(Kernel::clampv, 1);
  device->begin_mark("сушка");
  device->submit();  // the heap is empty again
  device->reset_stats();
  run(Kernel::clampv, 1);
  device->end_mark();
  run(Kernel::clampv, 1);
  device->end_mark();
  device->submit();
  EXPECT_DOUBLE_EQ(2.0, total_ms("печать"));
  EXPECT_EQ(0u, times("сушка"));
}

TEST_F(Submit, AQueueWithoutTimestampsIsNeverAskedForThem) {
  machine.ticks_per_s = 0;
  make();
  device->set_profiling(true);
  device->begin_mark("печать");
  run(Kernel::clampv, 1);
  device->end_mark();
  device->submit();
  EXPECT_EQ(0u, machine.count(Op::end_query));
  EXPECT_TRUE(device->stats().gpu_ms_by_name.empty());
  EXPECT_EQ(1u, device->stats().dispatches);
}

TEST_F(Submit, ProfilingNamesTheLongestOfAll) {
  make();
  device->set_profiling(true);
  gpu_budget() = {0.0, 0.0, 1.0};
  machine.wait_ns = 7'000'000;
  machine.kernel_ticks = [](const std::string& name) {
    return name == "mat3" ? 3'000'000 : 1'000'000;
  };
  set_cost(Kernel::mat3, 1000.0);
  run(Kernel::clampv, 1);
  run(Kernel::mat3, 2);
  device->submit();
  run(Kernel::clampv, 1);
  device->submit();
  const RenderStats& stats = device->stats();
  EXPECT_EQ((std::vector<double>{4.0, 1.0}), stats.submit_ms);
  EXPECT_EQ("mat3 512 работ, оценка 2.0 мс", stats.longest_dispatch);
  EXPECT_EQ("диспетчей 2, оценка 2.1 мс, после простоя", stats.longest_submit);
  EXPECT_DOUBLE_EQ(14.0, stats.wait_ms);
  EXPECT_DOUBLE_EQ(3.0, stats.longest_dispatch_ms);
  EXPECT_EQ(2u, stats.submits);

  device->set_profiling(false);
  run(Kernel::clampv, 1);
  device->submit();
  EXPECT_EQ(2u, stats.submit_ms.size());
}

}  // namespace
}  // namespace morva::gpu
