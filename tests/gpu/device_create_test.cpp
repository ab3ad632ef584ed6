// Coming up: which adapter is taken, what the environment switches, what an older GPU lacks.

#include <cstdlib>

#include "gpu/device_test.h"
#include "input/failure_of.h"

namespace morva::gpu {
namespace {

using testing_files::failure_of;

class DeviceCreation : public GpuTest {
 protected:
  void TearDown() override {
    for (const char* name :
         {"MORVA_DX12_DEBUG", "MORVA_GPU_DRED", "MORVA_GPU_SUBMIT_MS", "MORVA_GPU_DISPATCH_MS"}) {
      unsetenv(name);
    }
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
}

TEST_F(DeviceCreation, TheSoftwareDeviceNeedsNoHardware) {
  machine.adapters.clear();
  EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12", failure_of([&] { make(); }));
  EXPECT_TRUE(make(true).info().software);
  device.reset();
  machine.has_software_adapter = false;
  EXPECT_EQ("DX12: WARP — HRESULT 0x887A0002", failure_of([&] { make(true); }));
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
  EXPECT_EQ(4096u, machine.calls_of(Op::keep_messages).at(0).values.at(0));
  EXPECT_EQ(std::vector<std::string>{"e"}, device->debug_messages());

  setenv("MORVA_GPU_DRED", "", 1);
  make();
  EXPECT_EQ(3u, machine.count(Op::enable_loss_records));
  machine.fail(Op::enable_debug_layer, 1, platform::kFailed);
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
  make().warm_up();
  EXPECT_EQ(68u, machine.count(Op::create_pipeline));
  device->warm_up();
  EXPECT_EQ(68u, machine.count(Op::create_pipeline));

  machine.doubles = false;
  make();
  machine.calls.clear();
  device->warm_up();
  EXPECT_EQ(67u, machine.count(Op::create_pipeline));
  for (const Call& call : machine.calls_of(Op::set_name)) EXPECT_NE("rowsum", call.name);
}

TEST_F(DeviceCreation, AKernelThatCannotBeBuiltIsNoLostDeviceInWarmUpAndOneInADispatch) {
  make();
  machine.fail(Op::create_pipeline, 3, platform::kDeviceRemoved);
  try {
    device->warm_up();
    FAIL();
  } catch (const GpuLost&) {
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ("DX12: конвейер кернела neg_bw_main (HRESULT 0x887A0005)", error.what());
  }
  machine.fail(Op::create_pipeline, 1, platform::kDeviceHung);
  try {
    run(Kernel::srgb_main, 1);
    FAIL();
  } catch (const GpuLost& lost) {
    EXPECT_STREQ("DX12: конвейер кернела srgb_main — HRESULT 0x887A0006", lost.what());
    EXPECT_EQ(kHung, lost.reason);
  }
  device->abandon();
}

TEST_F(DeviceCreation, TheReasonOfALossIsNamed) {
  make();
  EXPECT_EQ(kNoLoss, device->removed_reason());
  machine.lost = platform::kDriverInternalError;
  EXPECT_EQ(kDriverError, device->removed_reason());
  machine.lost = platform::kFailed;
  EXPECT_EQ(kRemoved, device->removed_reason());
  machine.lost = platform::kOk;
}

TEST(Check, CutsItsTextAndKnowsTheFiveLosses) {
  EXPECT_EQ(200u, failure_of([] { check(platform::kFailed, std::string(300, 'x')); }).size());
  EXPECT_EQ("DX12 view: queue — HRESULT 0x80004005",
            failure_of([] { check(platform::kFailed, "queue", "DX12 view"); }));
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
}

}  // namespace
}  // namespace morva::gpu
