// The device on Vulkan: what goes up comes down, in order, at any size, and a lost device says so.

#include <atomic>
#include <thread>

#include "gpu/vulkan_test.h"
#include "input/failure_of.h"

namespace morva::gpu {
namespace {

using testing_files::failure_of;
using VulkanDevice = VulkanTest;

void expect_floats(const std::vector<float>& expected, const std::vector<float>& seen) {
  ASSERT_EQ(expected.size(), seen.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(expected[i], seen[i]) << "at " << i;
  }
}

TEST_F(VulkanDevice, WhatGoesUpComesDownThroughAKernel) {
  make();
  EXPECT_TRUE(device->info().software);
  EXPECT_TRUE(device->info().debug_layer);
  EXPECT_FALSE(device->info().adapter_name.empty());
  for (const std::uint32_t count : {1u, 255u, 256u, 257u, 4097u, 1'000'003u}) {
    const std::vector<float> floats = ramp(count);
    const auto from = device->upload(floats.data(), count);
    const auto to = device->alloc(count);
    copy_by_kernel(*from, *to, count);
    expect_floats(floats, device->download(*to, count));
  }
}

TEST_F(VulkanDevice, CopiesIntoOneBufferKeepTheirOrder) {
  make();
  const std::vector<float> floats = ramp(5000);
  const std::vector<float> others(5000, 3.0f);
  const auto first = device->upload(floats.data(), floats.size());
  const auto second = device->upload(others.data(), others.size());
  const auto target = device->alloc(9000);
  std::vector<float> expected(9000, 0.0f);
  for (std::size_t round = 0; round < 40; ++round) {
    const std::size_t at = round * 97;
    device->copy(*first, 0, *target, at, 5000);
    device->copy(*second, 0, *target, at + 10, 20);
    device->copy(*first, 100, *target, at + 15, 5);
    std::copy(floats.begin(), floats.end(), expected.begin() + static_cast<std::ptrdiff_t>(at));
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(at + 10), 20, 3.0f);
    std::copy_n(floats.begin() + 100, 5, expected.begin() + static_cast<std::ptrdiff_t>(at + 15));
  }
  const std::size_t written = 39 * 97 + 5000;
  expected.resize(written);
  expect_floats(expected, device->download(*target, written));
}

TEST_F(VulkanDevice, BandsDoWhatTheWholeDoes) {
  make();
  constexpr std::uint32_t kCount = 300'007;
  const std::vector<float> floats = ramp(kCount);
  const auto from = device->upload(floats.data(), kCount);
  const auto whole = device->alloc(kCount);
  set_budget(0.0, 0.0);
  copy_by_kernel(*from, *whole, kCount);
  expect_floats(floats, device->download(*whole, kCount));
  const auto banded = device->alloc(kCount);
  set_budget(0.5, 0.0005);
  device->reset_stats();
  copy_by_kernel(*from, *banded, kCount);
  EXPECT_LT(10u, device->stats().dispatches);
  expect_floats(floats, device->download(*banded, kCount));
}

TEST_F(VulkanDevice, TheClockRunsForwardAndTeaches) {
  make();
  device->set_profiling(true);
  const auto from = device->upload(ramp(1 << 20).data(), 1 << 20);
  const auto to = device->alloc(1 << 20);
  device->begin_mark("проба");
  for (int i = 0; i < 8; ++i) copy_by_kernel(*from, *to, 1 << 20);
  device->end_mark();
  device->submit();
  const RenderStats& stats = device->stats();
  const double kernel_ms = stats.gpu_ms_by_name.at("copy_main");
  EXPECT_LT(0.0, kernel_ms);
  EXPECT_LE(kernel_ms, stats.gpu_ms_by_name.at("проба"));
  double lists_ms = 0.0;
  for (const double ms : stats.submit_ms) lists_ms += ms;
  EXPECT_LE(stats.gpu_ms_by_name.at("проба"), lists_ms);
  EXPECT_LE(lists_ms,
            stats.wait_ms + 1.0);  // the GPU's clock and the host's agree on a millisecond
  EXPECT_LT(0.0, cost_model().worst_ns[row_of(Kernel::copy_main)]);
}

// Without the layer, whose search for missing barriers takes minutes over a list of this length.
TEST_F(VulkanDevice, TenThousandDispatchesInOneList) {
  unsetenv("MORVA_DX12_DEBUG");
  make();
  set_budget(0.0, 0.0);
  const std::vector<float> floats = ramp(700);
  const auto even = device->upload(floats.data(), 700);
  const auto odd = device->alloc(700);
  for (int i = 0; i < 5'000; ++i) {
    copy_by_kernel(*even, *odd, 700);
    copy_by_kernel(*odd, *even, 699);
  }
  device->submit();
  EXPECT_EQ(10'000u, device->stats().dispatches);
  EXPECT_EQ(1u, device->stats().submits);
  expect_floats(floats, device->download(*odd, 700));
}

TEST_F(VulkanDevice, BuffersOverTheNominalRangeOfTheSoftwareDevice) {
  make();
  constexpr std::uint32_t kCount = 40'000'001;  // 153 MiB, the nominal range is 128
  const std::vector<float> floats = ramp(kCount);
  const auto from = device->upload(floats.data(), kCount);
  const auto to = device->alloc(kCount);
  copy_by_kernel(*from, *to, kCount);
  EXPECT_TRUE(floats == device->download(*to, kCount));
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
  const auto buffer = device->upload(ramp(10).data(), 10);
  expect_floats(ramp(10), device->download(*buffer, 10));
}

TEST_F(VulkanDevice, ARemovedDeviceIsToldByTheNextListAndByEverythingAfter) {
  make();
  {
    const auto from = device->upload(ramp(500).data(), 500);
    const auto to = device->alloc(500);
    test_hooks().remove_at = 2;
    copy_by_kernel(*from, *to, 500);
    copy_by_kernel(*to, *from, 500);
    try {
      device->submit();
      FAIL();
    } catch (const GpuLost& lost) {
      EXPECT_STREQ("DX12: устройство потеряно — HRESULT 0x887A0005", lost.what());
      EXPECT_EQ(kRemoved, lost.reason);
    }
    EXPECT_EQ(kRemoved, device->removed_reason());
    EXPECT_EQ("DX12: Reset аллокатора — HRESULT 0x887A0005",
              failure_of([&] { device->copy(*from, 0, *to, 0, 500); }));
    EXPECT_EQ("DX12: буфер — HRESULT 0x887A0005", failure_of([&] { device->alloc(100'000); }));
    device->abandon();
  }
  make();  // another one is well
  const auto buffer = device->upload(ramp(10).data(), 10);
  expect_floats(ramp(10), device->download(*buffer, 10));
  EXPECT_EQ(kNoLoss, device->removed_reason());
}

TEST_F(VulkanDevice, ADeviceGoesDownInTheMiddleOfAList) {
  for (const bool dropped : {false, true}) {
    make();
    auto buffer = device->upload(ramp(3'000'000).data(), 3'000'000);
    const auto target = device->alloc(3'000'000);
    copy_by_kernel(*buffer, *target, 3'000'000);
    if (dropped) device->abandon();
    EXPECT_TRUE(device->debug_messages().empty());
  }
}

TEST_F(VulkanDevice, ReadingPastTheEndGivesZeros) {
  make();
  std::vector<float> expected = ramp(64);
  const auto from = device->upload(expected.data(), 64);
  const auto to = device->alloc(300);
  copy_by_kernel(*from, *to, 300);
  expected.resize(300, 0.0f);
  expect_floats(expected, device->download(*to, 300));
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
