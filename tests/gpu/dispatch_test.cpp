// Recording a dispatch: limits, what it is taken to cost, when it is cut and when the list ends
// before it.

#include <cmath>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

using Constants = std::vector<std::uint32_t>;

using Dispatch = GpuTest;

TEST_F(Dispatch, LimitsAreErrorsBeforeAnythingIsRecorded) {
  make_busy();
  device->dispatch(Kernel::copy_main, 0, 1, {}, {}, {});
  device->dispatch(Kernel::copy_main, 1, 0, {}, {}, {});
  EXPECT_EQ(0u, test_hooks().dispatch_count);
  EXPECT_THROW(run(Kernel::copy_main, 1, Constants(17)), std::logic_error);
  EXPECT_EQ("DX12: констант больше 16",
            failure_of([&] { run(Kernel::copy_main, 1, Constants(17)); }));
  EXPECT_EQ("DX12: буферов больше 6", failure_of([&] {
              device->dispatch(Kernel::copy_main, 1, 1, {}, {}, std::vector<Buffer*>(7));
            }));
  EXPECT_TRUE(machine.calls.empty());
}

TEST_F(Dispatch, GridsAndBandsCoverEveryThread) {
  for (const std::uint64_t n :
       {1ull, 255ull, 256ull, 257ull, 65535ull * 256, 65535ull * 256 + 1, 200'000'000ull}) {
    const LaunchGrid shape = grid(n);
    EXPECT_GE(std::uint64_t{shape.row_threads} * shape.groups_y, n);
    EXPECT_LT(std::uint64_t{shape.row_threads} * (shape.groups_y - 1), n);
    EXPECT_LE(shape.groups_x, 65535u);
    EXPECT_EQ(shape.groups_x * 256, shape.row_threads);
  }
  EXPECT_EQ(0u, grid(0).groups_y);
  EXPECT_EQ(1u, grid(0).groups_x);
  for (const double parts : {1.5, 7.0, 1000.0, 1e7}) {
    const LaunchBands bands = cut_into_bands(65535, 200, parts, 1.0);
    EXPECT_GE(bands.width * bands.rows, 65535u * 200u);
    EXPECT_LT(bands.width * (bands.rows - 1), 65535u * 200u);
    EXPECT_LE(std::ceil(double(bands.rows) / double(bands.step)), std::ceil(parts));
    EXPECT_LE(bands.step, 65535u);
  }
}

TEST_F(Dispatch, CostsAreKeptByKernelAndByAllConstantsButTheShape) {
  Constants words(16);
  for (std::uint32_t i = 0; i < 16; ++i) words[i] = i * 77 + 1;
  const std::uint64_t key = cost_key(Kernel::distort, words);
  for (std::size_t i = 0; i < 16; ++i) {
    Constants other = words;
    other[i] ^= 0x80000000u;
    EXPECT_EQ(i == 15, key == cost_key(Kernel::distort, other)) << i;
  }
  EXPECT_NE(key, cost_key(Kernel::vignette, words));
  CostModel model;
  EXPECT_EQ(40.0, cost_ns(model, Kernel::mat3, 1));  // an unknown kernel is slow
  learn(model, Kernel::mat3, 1, 3.0);
  learn(model, Kernel::mat3, 2, 2.0);
  EXPECT_EQ(2.0, cost_ns(model, Kernel::mat3, 2));
  EXPECT_EQ(6.0, cost_ns(model, Kernel::mat3, 3));
  EXPECT_EQ(40.0, cost_ns(model, Kernel::clampv, 3));
}

TEST_F(Dispatch, EstimateIsWorkTimesCostAndKnowsPausesAndTaps) {
  make();
  // Of one group that cost 1000 ns a work unit before.
  const auto estimate_ms = [&](Kernel kernel, const Constants& constants = {}) {
    set_cost(kernel, 1000.0, constants);
    device->reset_stats();
    run(kernel, 1, constants);
    device->submit();
    const std::string& text = device->stats().longest_dispatch;
    return std::stod(text.substr(text.find("оценка ") + std::string("оценка ").size()));
  };
  EXPECT_DOUBLE_EQ(1.0, estimate_ms(Kernel::clampv));  // the first of all meets an idle GPU
  EXPECT_DOUBLE_EQ(0.3, estimate_ms(Kernel::clampv));
  machine.clock_ns += 50'000'000;
  EXPECT_DOUBLE_EQ(0.3, estimate_ms(Kernel::clampv));
  machine.clock_ns += 50'000'001;
  EXPECT_DOUBLE_EQ(1.0, estimate_ms(Kernel::clampv));
  gpu_budget().scale = 2.0;
  EXPECT_DOUBLE_EQ(0.5, estimate_ms(Kernel::clampv));
  gpu_budget().scale = 1.0;
  EXPECT_DOUBLE_EQ(1.8, estimate_ms(Kernel::gauss_col, {9, 9, 9, 3}));
  EXPECT_DOUBLE_EQ(0.8, estimate_ms(Kernel::resample_v, {9, 9, 9, 3}));
  EXPECT_DOUBLE_EQ(0.3, estimate_ms(Kernel::resample_v, {9, 9, 9, 0}));
  EXPECT_DOUBLE_EQ(0.3, estimate_ms(Kernel::resample_v, {9, 9, 9}));
  EXPECT_DOUBLE_EQ(0.3, estimate_ms(Kernel::gauss_row, {9, 9, 9, 3}));
}

TEST_F(Dispatch, AboveItsBudgetItIsCutAndAtItsBudgetNot) {
  make_busy();
  const double exact_ms = 2560.0 * 1000.0 * 1e-6;
  const auto launches = [&](double limit_ms, const Constants& constants = {},
                            Kernel kernel = Kernel::clampv) {
    gpu_budget().dispatch_ms = limit_ms;
    set_cost(kernel, 1000.0, constants);
    machine.calls.clear();
    run(kernel, 10, constants);
    device->submit();
    return machine.count(Op::dispatch);
  };
  EXPECT_EQ(1u, launches(exact_ms));
  EXPECT_EQ(2u, launches(std::nextafter(exact_ms, 0.0)));
  EXPECT_EQ(10u, launches(1e-300));
  EXPECT_EQ(1u, launches(0.0));
  EXPECT_EQ(1u, launches(-1.0));
  EXPECT_EQ(10u, launches(0.01, Constants(15)));
  machine.run_kernel = [](const FakeDispatch& call) { EXPECT_EQ(5u, call.constants[15]); };
  EXPECT_EQ(1u, launches(0.01, Constants(16, 5)));
  machine.run_kernel = nullptr;
  for (const Kernel kernel :
       {Kernel::gauss_row, Kernel::gauss_col_tile, Kernel::rowsum, Kernel::view_pack})
    EXPECT_EQ(1u, launches(0.01, {}, kernel));
}

TEST_F(Dispatch, BandsDoTheSameWork) {
  make_busy();
  gpu_budget().submit_ms = 0.0;
  for (const std::uint32_t count : {1u, 255u, 257u, 4097u, 100'003u}) {
    const auto source = device->upload(ramp(count).data(), count);
    for (const double limit_ms : {1e9, 0.5, 0.011, 0.003}) {
      gpu_budget().dispatch_ms = limit_ms;
      set_cost(Kernel::copy_main, 40.0, {count});
      const auto target = device->alloc(count);
      copy_by_kernel(*device, *source, *target, count);
      EXPECT_EQ(ramp(count), device->download(*target, count)) << count << " " << limit_ms;
    }
  }
}

TEST_F(Dispatch, AListEndsBeforeTheDispatchThatWouldPassItsBudget) {
  make_busy();
  const double one_ms = 256.0 * 1000.0 * 1e-6;
  const auto lists = [&](double limit_ms) {
    gpu_budget().submit_ms = limit_ms;
    machine.calls.clear();
    for (int i = 0; i < 4; ++i) {
      set_cost(Kernel::clampv, 1000.0);
      run(Kernel::clampv, 1);
    }
    device->submit();
    return machine.count(Op::execute);
  };
  EXPECT_EQ(2u, lists(one_ms + one_ms));
  EXPECT_EQ(4u, lists(std::nextafter(one_ms + one_ms, 0.0)));
  EXPECT_EQ(4u, lists(one_ms / 100));  // each alone, though above the budget
  EXPECT_EQ(1u, lists(0.0));

  gpu_budget().submit_ms = 1.0;
  machine.calls.clear();
  const auto buffer = device->upload(ramp(1 << 19).data(), 1 << 19);  // 2 MiB: 1.05 ms
  set_cost(Kernel::clampv, 0.001);
  run(Kernel::clampv, 1);
  EXPECT_EQ(1u, machine.count(Op::execute));
}

}  // namespace
}  // namespace morva::gpu
