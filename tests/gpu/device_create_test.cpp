// Coming up: which adapter is taken, what the environment switches, what an older GPU lacks.

#include <cstdlib>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

class DeviceCreation : public GpuTest {
 protected:
  void TearDown() override {
    for (const char* name :
         {"MORVA_DX12_DEBUG", "MORVA_GPU_DRED", "MORVA_GPU_SUBMIT_MS", "MORVA_GPU_DISPATCH_MS"})
      unsetenv(name);
    GpuTest::TearDown();
  }
};

TEST_F(DeviceCreation, TakesTheFirstHardwareAdapterThatWorks) {
  machine.adapters = {{{"soft", true, 0}},
                      {{"old", false, 1 << 20}, platform::kFailed},
                      {{"good", false, (std::uint64_t{3} << 30) + 1}},
                      {{"slower", false, 0}}};
  machine.architecture = {true, true};
  const DeviceInfo& info = make().info();
  EXPECT_EQ("good", info.adapter_name);
  EXPECT_EQ(3072u, info.vram_mb);
  EXPECT_TRUE(info.uma && info.cache_coherent && info.doubles);
  EXPECT_FALSE(info.software || info.debug_layer);
  machine.adapters.clear();
  EXPECT_TRUE(make(true).info().software);
}

TEST_F(DeviceCreation, TheEnvironmentSwitchesDebuggingAndLossRecords) {
  for (const char* off : {"", "0"}) {
    setenv("MORVA_DX12_DEBUG", off, 1);
    make();
    EXPECT_EQ(0u, machine.count(Op::enable_debug_layer)) << off;
  }
  EXPECT_EQ(2u, machine.count(Op::enable_loss_records));
  machine.messages = {{platform::Severity::error, "e"}, {platform::Severity::info, "i"}};
  EXPECT_TRUE(device->debug_messages().empty());

  setenv("MORVA_DX12_DEBUG", "00", 1);
  setenv("MORVA_GPU_DRED", "0", 1);
  make();
  EXPECT_TRUE(device->info().debug_layer);
  EXPECT_EQ(1u, machine.count(Op::enable_kernel_checks));
  EXPECT_EQ(2u, machine.count(Op::enable_loss_records));
  EXPECT_EQ(std::vector<std::string>{"e"}, device->debug_messages());

  setenv("MORVA_GPU_DRED", "", 1);
  make();
  EXPECT_EQ(3u, machine.count(Op::enable_loss_records));
  machine.fail({1, platform::kFailed, false, Op::enable_debug_layer});
  EXPECT_EQ(
      "DX12: отладочный слой недоступен (нет d3d12SDKLayers.dll — компонент «Graphics Tools»)",
      failure_of([&] { make(); }));
}

TEST_F(DeviceCreation, BudgetsComeFromTheEnvironmentAndNonsenseSwitchesThemOff) {
  EXPECT_EQ(50.0, budget_from_environment().submit_ms);
  EXPECT_EQ(12.0, budget_from_environment().dispatch_ms);
  setenv("MORVA_GPU_SUBMIT_MS", " +20.5ms", 1);
  setenv("MORVA_GPU_DISPATCH_MS", "soon", 1);
  EXPECT_EQ(20.5, budget_from_environment().submit_ms);
  EXPECT_EQ(0.0, budget_from_environment().dispatch_ms);
  setenv("MORVA_GPU_SUBMIT_MS", "", 1);
  EXPECT_EQ(0.0, budget_from_environment().submit_ms);
}

TEST_F(DeviceCreation, WarmUpBuildsAllKernelsButTheDoubleOneWhereItCannotRun) {
  for (const bool doubles : {true, false}) {
    machine.doubles = doubles;
    make();
    machine.calls.clear();
    for (int twice = 0; twice < 2; ++twice) {
      device->warm_up();
      EXPECT_EQ(doubles ? 68u : 67u, machine.count(Op::create_pipeline));
    }
    for (const Call& call : machine.calls_of(Op::set_name)) {
      EXPECT_TRUE(doubles || call.name != "rowsum");
    }
  }
  make();
  machine.fail({3, platform::kDeviceRemoved, false, Op::create_pipeline});
  try {
    device->warm_up();
    ADD_FAILURE();
  } catch (const GpuLost&) {
    ADD_FAILURE() << "a kernel that cannot be built is no lost device";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ("DX12: конвейер кернела neg_bw_main (HRESULT 0x887A0005)", error.what());
  }
}

TEST_F(DeviceCreation, ErrorsKnowTheFiveLossesAndCutTheirText) {
  EXPECT_EQ(200u, failure_of([] { check(platform::kFailed, std::string(300, 'x')); }).size());
  const std::pair<std::uint32_t, std::uint32_t> losses[] = {
      {0x887A0006u, 1}, {0x887A0007u, 2}, {0x887A0005u, 3}, {0x887A0020u, 4}, {0x8007000Eu, 5}};
  for (const auto& [code, reason] : losses) {
    try {
      check({code}, "x");
      ADD_FAILURE() << code;
    } catch (const GpuLost& lost) {
      EXPECT_EQ(reason, lost.reason);
      EXPECT_EQ(code, lost.hresult);
    }
  }
  EXPECT_NO_THROW(check({1}, "S_FALSE"));
  make();
  EXPECT_EQ(kNoLoss, device->removed_reason());
  machine.lost = platform::kDriverInternalError;
  EXPECT_EQ(kDriverError, device->removed_reason());
  machine.lost = platform::kFailed;
  EXPECT_EQ(kRemoved, device->removed_reason());
}

}  // namespace
}  // namespace morva::gpu
