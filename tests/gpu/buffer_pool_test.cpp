// Buffers that come back, buffers that cannot be had, and floats on their way.

#include <thread>

#include "gpu/device_test.h"

namespace morva::gpu {
namespace {

using platform::Heap;
using Sizes = std::vector<std::uint64_t>;

class BufferPool : public GpuTest {
 protected:
  Sizes created(Heap heap = Heap::device_local) const { return machine.made(heap); }
};

TEST_F(BufferPool, TakesTheSmallestThatIsAtMostTwiceTooLarge) {
  make_busy();
  {
    const auto none = device->alloc(0), small = device->alloc(63), large = device->alloc(65);
    EXPECT_EQ(1u, none->count);
    EXPECT_EQ(63u, small->count);
    EXPECT_EQ((Sizes{256, 256, 260}), created());
    EXPECT_EQ("morva pool 1 KB", machine.calls_of(Op::set_name).back().name);
    EXPECT_EQ((1u + 63u + 65u) * 4u, device->pool_stats().pool_total_bytes);
  }
  { const auto larger = device->alloc(3000), smaller = device->alloc(2001); }
  EXPECT_EQ(1000u, device->alloc(1000)->count);
  EXPECT_EQ(1000u, device->alloc(500)->count);
  EXPECT_EQ(499u, device->alloc(499)->count);
  const auto held = device->alloc(1500);
  EXPECT_EQ(2001u, held->count);
  EXPECT_EQ(3000u, device->alloc(1500)->count);
  EXPECT_EQ(7u, created().size());
}

TEST_F(BufferPool, WithoutAPoolBuffersDieWithTheList) {
  make_busy();
  test_hooks().no_pool = true;
  for (const bool dropped : {false, true}) {
    device->begin_mark("список");
    device->alloc(100);
    device->end_mark();
    EXPECT_EQ(0u, device->pool_stats().pool_free_bytes);
    EXPECT_EQ(400u, device->pool_stats().pool_total_bytes);
    dropped ? device->abandon() : device->submit();
    EXPECT_EQ(0u, device->pool_stats().pool_total_bytes);
  }
}

TEST_F(BufferPool, TrimFreesWhatTheBudgetAsksFor) {
  make_busy();
  const auto held = device->alloc(7);
  const auto free_after = [&](bool aggressive, platform::MemoryInfo memory) {
    machine.local = memory;
    { const auto a = device->alloc(1000), b = device->alloc(200), c = device->alloc(50); }
    device->trim(aggressive);
    return device->pool_stats().pool_free_bytes / sizeof(float);
  };
  EXPECT_EQ(0u, free_after(true, {1 << 20, 0}));
  EXPECT_EQ(0u, free_after(false, {0, 0}));
  EXPECT_EQ(1250u, free_after(false, {20000, 0}));
  EXPECT_EQ(250u, free_after(false, {19999, 0}));  // the largest goes first
  EXPECT_EQ(1250u, free_after(false, {1 << 20, 786'431}));
  EXPECT_EQ(0u, free_after(false, {1 << 20, 786'432}));
  EXPECT_EQ(28u, device->pool_stats().pool_total_bytes);

  machine.local = {10, 4};
  machine.non_local = {20, 5};
  EXPECT_EQ(20u, device->pool_stats().shared_budget);
  machine.fail({1, platform::kFailed, false, Op::ask});  // a machine that does not tell
  const PoolStats stats = device->pool_stats();
  EXPECT_EQ(0u, stats.local_budget + stats.local_usage);
  EXPECT_EQ(5u, stats.shared_usage);
}

TEST_F(BufferPool, ShortMemoryEmptiesThePoolAndTriesOnceMore) {
  make_busy();
  device->alloc(100);
  test_hooks() = TestHooks{};
  test_hooks().fail_alloc_at = 1;
  const auto buffer = device->alloc(5000);
  EXPECT_EQ(20'000u, device->pool_stats().pool_total_bytes);

  test_hooks().fail_alloc_from = 1;
  machine.local = {1000, 400};
  for (const std::uint64_t available : {600u, 0u}) {
    try {
      device->alloc(5000);
      FAIL();
    } catch (const GpuLost& lost) {
      EXPECT_STREQ("DX12: буфер — HRESULT 0x8007000E (тестовый крючок)", lost.what());
      EXPECT_EQ(kNoMemory, lost.reason);
      EXPECT_EQ(20'000u, lost.requested_bytes);
      EXPECT_EQ(available, lost.available_bytes);
    }
    machine.local.usage = 1000;
  }
  test_hooks() = TestHooks{};
  machine.calls.clear();
  for (const std::uint64_t count :
       {~std::uint64_t{0}, (std::uint64_t{1} << 62) + 1, std::uint64_t{1} << 32})
    EXPECT_EQ("DX12: буфер — HRESULT 0x8007000E", failure_of([&] { device->alloc(count); }));
  EXPECT_TRUE(created().empty());
}

// A list keeps a table for each of its dispatches, and some drivers count allocations.
TEST_F(BufferPool, TenThousandDispatchesEndTheirListWhereADriverAllowsFewerBuffers) {
  machine.most_kernel_buffers = 4032;
  make_busy();
  gpu_budget().submit_ms = 0.0;
  const std::vector<float> floats = ramp(300);
  const auto even = device->upload(floats.data(), 300);
  const auto odd = device->alloc(300);
  for (int i = 0; i < 5'000; ++i) {
    copy_by_kernel(*device, *even, *odd, 300);
    copy_by_kernel(*device, *odd, *even, 299);
  }
  EXPECT_EQ(floats, device->download(*odd, 300));
  EXPECT_EQ(10'000u, device->stats().dispatches);
  EXPECT_EQ(3u, device->stats().submits);
}

TEST_F(BufferPool, BuffersMayBeDroppedOnAnyThread) {
  make_busy();
  for (int round = 0; round < 20; ++round) {
    std::vector<std::shared_ptr<Buffer>> buffers;
    for (std::uint64_t i = 0; i < 50; ++i) buffers.push_back(device->alloc(1 + i * 7));
    std::thread dropper([dropped = std::move(buffers)]() mutable { dropped.clear(); });
    for (std::uint64_t i = 0; i < 50; ++i) device->alloc(1 + i * 5);
    dropper.join();
  }
  device->trim(true);
  EXPECT_EQ(0u, device->pool_stats().pool_total_bytes);
}

TEST_F(BufferPool, PicturesComeBackAsTheyWent) {
  make_busy();
  EXPECT_EQ(1u, device->upload(nullptr, 0)->count);
  EXPECT_TRUE(device->download(*device->alloc(1), 0).empty());
  EXPECT_EQ(0u, machine.count(Op::list_reset));

  Image picture(3, 5, 3);
  picture.data = ramp(45);
  const GImage there = device->upload(picture);
  const GImage other = device->image(3, 5, 3);
  device->copy(*there.buffer, 3, *other.buffer, 0, 42);
  device->copy(*there.buffer, 0, *other.buffer, 42, 3);
  device->copy(*there.buffer, 0, *other.buffer, 0, 0);
  EXPECT_EQ(picture.data, device->download(there).data);
  const Image back = device->download(other);
  EXPECT_EQ(picture.data[3], back.data[0]);
  EXPECT_EQ(picture.data[2], back.data[44]);
  EXPECT_EQ(5, back.w);
  const RenderStats& stats = device->stats();
  EXPECT_EQ(1u, stats.uploads);
  EXPECT_EQ(2u, stats.downloads);
  EXPECT_EQ(180u, stats.uploaded_bytes);
  EXPECT_EQ(360u, stats.downloaded_bytes);
  EXPECT_EQ(0u, stats.frame_uploads + stats.frame_downloads);
}

TEST_F(BufferPool, TheRingTakesAllThatFitsHalfAChunk) {
  make_busy();
  const std::uint64_t half = 0x800000;  // floats in 32 MiB
  const std::vector<float> data(half + 1, 1.5f);
  const auto a = device->upload(data.data(), half);
  const auto b = device->upload(data.data(), half);
  EXPECT_EQ(Sizes{0x4000000}, created(Heap::upload));
  device->submit();
  const auto c = device->upload(data.data(), half);  // the ring begins anew
  EXPECT_EQ(1u, created(Heap::upload).size());
  const std::uint64_t before = machine.live_objects;
  const auto d = device->upload(data.data(), half + 1);
  EXPECT_EQ((Sizes{0x4000000, 0x2000100}), created(Heap::upload));
  device->submit();
  EXPECT_EQ(before + 1, machine.live_objects);  // its buffer stays, its upload does not
  EXPECT_EQ(1.5f, device->download(*d, half + 1).back());
  EXPECT_EQ(4u, device->stats().frame_uploads);
  EXPECT_EQ(1u, device->stats().frame_downloads);
}

}  // namespace
}  // namespace morva::gpu
