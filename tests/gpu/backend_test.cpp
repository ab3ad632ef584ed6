// Which backend renders, and what becomes of it after losses, on a machine of host memory.

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

constexpr std::int64_t kSecondNs = 1'000'000'000;

class Backend : public GpuTest {
 protected:
  bool lose(bool may_retry = true) {
    return recover(holder, GpuLost("DX12: проба", kRemoved, 0x887A0005u), may_retry);
  }
};

TEST_F(Backend, ADeviceIsKeptUntilAnotherKindIsAskedFor) {
  EXPECT_EQ("CPU", describe_backend(holder));
  machine.architecture = {true, true};
  select_gpu(holder, false);
  const Tract* first = active_backend(holder);
  EXPECT_EQ("DX12 Fake 3000, UMA (CacheCoherent)", describe_backend(holder));
  select_gpu(holder, false);
  EXPECT_EQ(first, active_backend(holder));
  select_cpu(holder);
  EXPECT_EQ(nullptr, active_backend(holder));
  EXPECT_EQ("CPU", describe_backend(holder));
  EXPECT_EQ(first, holder.backend.get());
  select_gpu(holder, true);
  EXPECT_TRUE(holder.backend->device().info().software);
  machine.adapters.clear();
  EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12",
            failure_of([&] { select_gpu(holder, false); }));
  EXPECT_EQ(nullptr, active_backend(holder));
}

TEST_F(Backend, AProbeTellsWhatTheMachineHas) {
  machine.adapters = {
      {{"one", false, 0}}, {{"soft", true, 0}}, {{"two", false, 0}, platform::kFailed}};
  const AdapterList list = list_adapters(machine);
  EXPECT_EQ((std::vector<std::string>{"one", "two"}), list.hardware);
  EXPECT_EQ(1u, list.usable);
  EXPECT_EQ("one", probe_backend(holder));
  EXPECT_TRUE(holder.selected);
  EXPECT_EQ(kKernelCount, machine.count(Op::create_pipeline));

  machine.run_kernel = nullptr;  // the copy never happens
  EXPECT_EQ("DX12: пересылка туда-обратно вернула не те числа",
            failure_of([&] { probe_backend(holder); }));
  EXPECT_FALSE(holder.selected);
  EXPECT_EQ(nullptr, holder.backend);
  machine.fail({1, platform::kFailed, false, Op::create_factory});
  EXPECT_TRUE(list_adapters(machine).hardware.empty());
}

TEST_F(Backend, OneLossIsMendedAndASecondWithinTwoMinutesIsNot) {
  for (const auto& [seconds, mended] : {std::pair{119, false}, {120, false}, {121, true}}) {
    holder = BackendHolder{};
    holder.source = &machine;
    select_gpu(holder, false);
    EXPECT_TRUE(lose());
    EXPECT_EQ(1u, holder.generation);
    EXPECT_EQ(1u, holder.recoveries);
    machine.clock_ns += seconds * kSecondNs;
    EXPECT_EQ(mended, lose()) << seconds;
    EXPECT_EQ(!mended, holder.lost);
    EXPECT_EQ(mended ? 2u : 1u, holder.generation);
    EXPECT_EQ(!mended, is_lost(holder));
    machine.clock_ns += 1000 * kSecondNs;
    if (mended) continue;
    retry_backend(holder);
    EXPECT_FALSE(is_lost(holder));
    EXPECT_EQ(2u, holder.generation);
  }
  forget_losses(holder);
  for (const double scale : {2.0, 4.0, 8.0, 16.0, 16.0, 16.0}) {
    machine.clock_ns += 200 * kSecondNs;
    EXPECT_TRUE(lose());
    EXPECT_EQ(scale, gpu_budget().scale);
  }
  EXPECT_FALSE(lose(false));  // the second attempt of a render
  forget_losses(holder);
  EXPECT_EQ(1.0, gpu_budget().scale);
}

TEST_F(Backend, WantOfMemoryIsNoLoss) {
  select_gpu(holder, false);
  GpuLost full("DX12: буфер", kNoMemory, platform::kOutOfMemory.code);
  full.requested_bytes = 77;
  EXPECT_TRUE(recover(holder, full, true));
  EXPECT_FALSE(recover(holder, full, false));
  EXPECT_EQ(77u, holder.last_loss.requested_bytes);
  EXPECT_EQ("ошибка: DX12: буфер\n", holder.last_loss.report);
  EXPECT_EQ(1.0, gpu_budget().scale);
}

TEST_F(Backend, TheDeviceItselfSaysWhyItWent) {
  select_gpu(holder, false);
  machine.lost = platform::kDeviceHung;
  EXPECT_TRUE(lose());
  EXPECT_EQ(kHung, static_cast<LossReason>(holder.last_loss.reason));
  EXPECT_EQ("ошибка: DX12: проба\nпричина: DEVICE_HUNG (HRESULT 0x887A0006)\nDRED: недоступен\n",
            holder.last_loss.report);
  machine.lost = platform::kOk;
  machine.fault = "сбой страницы: 0x10\n";
  machine.clock_ns += 200 * kSecondNs;
  EXPECT_TRUE(lose());
  EXPECT_EQ("ошибка: DX12: проба\nпричина: NONE (HRESULT 0x00000000)\nсбой страницы: 0x10\n",
            holder.last_loss.report);
}

TEST_F(Backend, AMachineWithoutHardwareStaysLost) {
  select_gpu(holder, true);  // the software device; a rebuilt one is always hardware
  machine.adapters.clear();
  EXPECT_FALSE(lose());
  EXPECT_TRUE(is_lost(holder));
  const std::string failed =
      "новое устройство не создалось: DX12: нет аппаратного адаптера с D3D12\n";
  EXPECT_TRUE(holder.last_loss.report.ends_with(failed));
  EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12", failure_of([&] { retry_backend(holder); }));
  EXPECT_TRUE(holder.last_loss.report.ends_with(failed + failed));
  select_cpu(holder);
  EXPECT_FALSE(is_lost(holder));
  retry_backend(holder);
  EXPECT_EQ(nullptr, holder.backend);
}

}  // namespace
}  // namespace morva::gpu
