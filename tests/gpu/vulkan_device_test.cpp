// The device on Vulkan, the software one watched by the validation layer, which must have nothing
// to say: what goes up comes down, in order, at any size.

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "gpu/device_test.h"
#include "gpu/platform/vulkan_platform.h"
#include "gpu/vulkan_layer.h"

namespace morva::gpu {
namespace {

class VulkanDevice : public ::testing::Test {
 protected:
  void SetUp() override {
    forget_everything();
    keep_debug_layer_loaded();
    setenv("MORVA_DX12_DEBUG", "1", 1);
  }
  void TearDown() override {
    if (device) {
      EXPECT_EQ(std::vector<std::string>{}, device->debug_messages());
    }
    device.reset();
    unsetenv("MORVA_DX12_DEBUG");
    forget_everything();
  }
  Device& make() { return device.emplace(true, *machine); }
  // Floats through the GPU and a kernel of `threads` threads and back.
  std::vector<float> carried(const std::vector<float>& floats, std::uint32_t threads) {
    const auto from = device->upload(floats.data(), floats.size());
    const auto to = device->alloc(threads);
    copy_by_kernel(*device, *from, *to, threads);
    return device->download(*to, threads);
  }

  std::unique_ptr<platform::Platform> machine =
      platform::make_vulkan_platform("libvulkan.so.1");  // its switches die with the test
  std::optional<Device> device;
};

TEST_F(VulkanDevice, WhatGoesUpComesDownThroughAKernel) {
  make();
  EXPECT_TRUE(device->info().software);
  EXPECT_TRUE(device->info().debug_layer);
  EXPECT_FALSE(device->info().adapter_name.empty());
  gpu_budget() = {0.0, 0.0, 1.0};  // whole launches
  // The last of 153 MiB, where the software device's nominal range is 128.
  for (const std::uint32_t count : {1u, 255u, 256u, 257u, 4097u, 1'000'003u, 40'000'001u}) {
    const std::vector<float> floats = ramp(count);
    EXPECT_TRUE(floats == carried(floats, count)) << count;
  }
  std::vector<float> floats = ramp(64);
  const std::vector<float> back = carried(floats, 300);  // past the end there are zeros
  floats.resize(300, 0.0f);
  EXPECT_EQ(floats, back);
}

TEST_F(VulkanDevice, CopiesIntoOneBufferKeepTheirOrder) {
  make();
  const std::vector<float> floats = ramp(5000);
  const std::vector<float> others(5000, 3.0f);
  const auto first = device->upload(floats.data(), floats.size());
  const auto second = device->upload(others.data(), others.size());
  const auto target = device->alloc(9000);
  std::vector<float> expected(39 * 97 + 5000, 0.0f);
  for (std::size_t at = 0; at < 40 * 97; at += 97) {
    device->copy(*first, 0, *target, at, 5000);
    device->copy(*second, 0, *target, at + 10, 20);
    device->copy(*first, 100, *target, at + 15, 5);
    float* const there = expected.data() + at;
    std::copy(floats.begin(), floats.end(), there);
    std::fill_n(there + 10, 20, 3.0f);
    std::copy_n(floats.begin() + 100, 5, there + 15);
  }
  EXPECT_EQ(expected, device->download(*target, expected.size()));
}

TEST_F(VulkanDevice, TheClockRunsForwardAndTeaches) {
  make();
  device->set_profiling(true);
  const auto from = device->upload(ramp(1 << 20).data(), 1 << 20);
  const auto to = device->alloc(1 << 20);
  device->begin_mark("проба");
  for (int i = 0; i < 8; ++i) copy_by_kernel(*device, *from, *to, 1 << 20);
  device->end_mark();
  device->submit();
  const RenderStats& stats = device->stats();
  const double kernel_ms = stats.gpu_ms_by_name.at("copy_main");
  EXPECT_LT(0.0, kernel_ms);
  EXPECT_LE(kernel_ms, stats.gpu_ms_by_name.at("проба"));
  double lists_ms = 0.0;
  for (const double ms : stats.submit_ms) lists_ms += ms;
  EXPECT_LE(stats.gpu_ms_by_name.at("проба"), lists_ms);
  // The GPU's clock and the host's agree on a millisecond.
  EXPECT_LE(lists_ms, stats.wait_ms + 1.0);
  EXPECT_LT(0.0, cost_model().worst_ns[row_of(Kernel::copy_main)]);
}

// Without the layer, whose search for missing barriers takes minutes over a list of this length.
TEST_F(VulkanDevice, TenThousandDispatchesInOneList) {
  unsetenv("MORVA_DX12_DEBUG");
  make();
  gpu_budget() = {0.0, 0.0, 1.0};
  const std::vector<float> floats = ramp(700);
  const auto even = device->upload(floats.data(), 700);
  const auto odd = device->alloc(700);
  for (int i = 0; i < 5'000; ++i) {
    copy_by_kernel(*device, *even, *odd, 700);
    copy_by_kernel(*device, *odd, *even, 699);
  }
  device->submit();
  EXPECT_EQ(10'000u, device->stats().dispatches);
  EXPECT_EQ(1u, device->stats().submits);
  EXPECT_EQ(floats, device->download(*odd, 700));
}

TEST_F(VulkanDevice, MoreMemoryThanThereIsIsToldAndLeavesTheDeviceWell) {
  make();
  try {
    device->alloc(std::uint64_t{1} << 45);
    FAIL();
  } catch (const GpuLost& lost) {
    EXPECT_STREQ("DX12: буфер — HRESULT 0x8007000E", lost.what());
    EXPECT_EQ(std::uint64_t{1} << 47, lost.requested_bytes);
  }
  EXPECT_EQ(ramp(10), carried(ramp(10), 10));
}

TEST_F(VulkanDevice, ADeviceGoesDownInTheMiddleOfAList) {
  for (const bool dropped : {false, true}) {
    make();
    const auto buffer = device->upload(ramp(3'000'000).data(), 3'000'000);
    const auto target = device->alloc(3'000'000);
    copy_by_kernel(*device, *buffer, *target, 3'000'000);
    if (dropped) device->abandon();
    EXPECT_TRUE(device->debug_messages().empty());
  }
}

TEST_F(VulkanDevice, TwoDevicesOnTwoThreads) {
  std::atomic<int> good = 0;
  const auto work = [&] {
    Device own(true, *machine);
    for (std::uint32_t i = 0; i < 20; ++i) {
      const std::vector<float> floats = ramp(1000 + i);
      const auto buffer = own.upload(floats.data(), floats.size());
      if (own.download(*buffer, floats.size()) == floats) ++good;
    }
    if (own.debug_messages().empty()) ++good;
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(42, good);
}

}  // namespace
}  // namespace morva::gpu
