// The Vulkan platform below the device: machines that lack something, objects that outlive what
// made them, queues side by side.

#include <cstdlib>
#include <cstring>
#include <thread>

#include "gpu/device_test.h"
#include "gpu/driver_suppressions.h"
#include "gpu/platform/vulkan_memory.h"
#include "gpu/platform/vulkan_platform.h"
#include "gpu/vulkan_layer.h"

namespace morva::gpu {

using namespace platform;

void keep_debug_layer_loaded() {
  static Factory* const kept = [] {
    const auto machine = make_vulkan_platform("libvulkan.so.1");
    std::unique_ptr<Factory> factory;
    EXPECT_TRUE(machine->enable_debug_layer().ok());
    EXPECT_TRUE(machine->create_factory(&factory).ok());
    return factory.release();
  }();
  EXPECT_NE(nullptr, kept);
}

namespace {

// A queue with all that running a list on it takes, and a way of bytes up, across and down.
struct Lane {
  std::unique_ptr<Queue> queue;
  std::unique_ptr<Allocator> allocator;
  std::unique_ptr<List> list;
  std::unique_ptr<Fence> fence;
  std::uint64_t value = 0;
  std::unique_ptr<Resource> upload, local, readback;
  std::byte* in;
  const std::byte* seen;

  Lane(platform::Device& device, std::uint64_t bytes) {
    EXPECT_TRUE(device.create_queue(&queue).ok());
    EXPECT_TRUE(device.create_allocator(&allocator).ok());
    EXPECT_TRUE(device.create_list(*allocator, &list).ok());
    EXPECT_TRUE(list->close().ok());
    EXPECT_TRUE(device.create_fence(0, &fence).ok());
    EXPECT_TRUE(fence->open_event().ok());
    EXPECT_TRUE(device.create_buffer(Heap::upload, bytes, State::generic_read, &upload).ok());
    EXPECT_TRUE(device.create_buffer(Heap::device_local, bytes, State::common, &local).ok());
    EXPECT_TRUE(device.create_buffer(Heap::readback, bytes, State::copy_dest, &readback).ok());
    local->set_name("racing");
    in = memory_of(*upload);
    seen = memory_of(*readback);
  }
  static std::byte* memory_of(Resource& resource) {
    void* memory = nullptr;
    EXPECT_TRUE(resource.map(0, &memory).ok());
    return static_cast<std::byte*>(memory);
  }
  void open() {
    EXPECT_TRUE(allocator->reset().ok());
    EXPECT_TRUE(list->reset(*allocator).ok());
  }
  void record_way(std::uint64_t bytes) {
    list->copy(*local, 0, *upload, 0, bytes);
    list->transition(*local, State::copy_dest, State::copy_source);
    list->copy(*readback, 0, *local, 0, bytes);
  }
  void run() {
    EXPECT_TRUE(list->close().ok());
    queue->execute(*list);
    EXPECT_TRUE(queue->signal(*fence, ++value).ok());
  }
  void wait() {
    EXPECT_TRUE(fence->wait(value).ok());
    EXPECT_LE(value, fence->completed());
  }
};

class VulkanPlatform : public ::testing::Test {
 protected:
  void SetUp() override {
    keep_debug_layer_loaded();
    ASSERT_TRUE(machine->enable_debug_layer().ok());
    ASSERT_TRUE(machine->enable_loss_records().ok());
    ASSERT_TRUE(machine->create_factory(&factory).ok());
    ASSERT_TRUE(factory->software_adapter(&adapter).ok());
    ASSERT_TRUE(adapter->try_device().ok());
    ASSERT_TRUE(adapter->create_device(&device).ok());
    ASSERT_TRUE(device->keep_messages(100).ok());
  }
  void TearDown() override {
    if (!device) return;
    for (const DebugMessage& message : device->take_messages()) ADD_FAILURE() << message.text;
  }

  std::unique_ptr<Platform> machine = make_vulkan_platform("libvulkan.so.1");
  std::unique_ptr<Factory> factory;
  std::unique_ptr<Adapter> adapter;
  std::unique_ptr<platform::Device> device;
};

// Without a loader, and with one that finds no driver.
TEST(VulkanMachine, WithoutVulkanThereAreNoAdapters) {
  forget_everything();
  for (const bool no_driver : {false, true}) {
    if (no_driver) setenv("VK_DRIVER_FILES", "/nonexistent.json", 1);
    const auto bare = make_vulkan_platform(no_driver ? "libvulkan.so.1" : "libnosuchvulkan.so.1");
    EXPECT_EQ("DX12: нет аппаратного адаптера с D3D12",
              failure_of([&] { gpu::Device(false, *bare); }));
    EXPECT_EQ("DX12: WARP — HRESULT 0x887A0002", failure_of([&] { gpu::Device(true, *bare); }));
    EXPECT_EQ(no_driver, bare->enable_debug_layer().ok());
    unsetenv("VK_DRIVER_FILES");
  }
  const auto wrong = make_vulkan_platform("libm.so.6");  // a library, but another one
  EXPECT_EQ("DX12: WARP — HRESULT 0x887A0002", failure_of([&] { gpu::Device(true, *wrong); }));
}

// A small heap of the GPU's own before the machine's memory, with a second type of each.
TEST(VulkanMachine, WhereMemoryIsSharedEveryHeapServes) {
  using Types = std::vector<std::uint32_t>;
  constexpr VkMemoryPropertyFlags mapped =
      VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
  vulkan::DeviceFacts facts;
  facts.memory.memoryHeapCount = 2;
  facts.memory.memoryTypeCount = 4;
  facts.memory.memoryTypes[0] = {mapped, 1};
  facts.memory.memoryTypes[1] = {VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT, 0};
  facts.memory.memoryTypes[2] = {VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT | mapped, 0};
  facts.memory.memoryTypes[3] = {mapped | VK_MEMORY_PROPERTY_HOST_CACHED_BIT, 1};
  facts.properties.deviceType = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  EXPECT_EQ((Types{1, 0}), vulkan::memory_types(facts, 0b1111, Heap::device_local));
  EXPECT_EQ((Types{2, 3}), vulkan::memory_types(facts, 0b1100, Heap::device_local));
  EXPECT_EQ((Types{3, 2}), vulkan::memory_types(facts, 0b1111, Heap::readback));
  EXPECT_EQ((Types{}), vulkan::memory_types(facts, 0b0010, Heap::upload));
  facts.properties.deviceType = VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU;
  EXPECT_EQ((Types{1}), vulkan::memory_types(facts, 0b1111, Heap::device_local));
  EXPECT_EQ((Types{0}), vulkan::memory_types(facts, 0b0001, Heap::device_local));
  EXPECT_EQ((Types{0}), vulkan::memory_types(facts, 0b1111, Heap::upload));
}

TEST(VulkanMachine, HardwareComesBeforeSoftware) {
  const std::int64_t before = vulkan_platform().now_ns();
  EXPECT_LE(before, vulkan_platform().now_ns());
  std::unique_ptr<Factory> factory;
  ASSERT_TRUE(vulkan_platform().create_factory(&factory).ok());
  bool software = false;
  std::unique_ptr<Adapter> adapter;
  for (std::uint32_t i = 0; factory->adapter(i, &adapter).ok(); ++i) {
    EXPECT_FALSE(software && !adapter->description().software);
    software = adapter->description().software;
    EXPECT_FALSE(adapter->description().name.empty());
  }
  EXPECT_TRUE(software);
}

TEST_F(VulkanPlatform, WhatItRefuses) {
  const Lane lane(*device, 256);
  void* memory = nullptr;
  EXPECT_FALSE(lane.local->map(0, &memory).ok());
  std::unique_ptr<Resource> none;
  for (const Heap heap : {Heap::device_local, Heap::upload, Heap::readback})
    for (const std::uint64_t bytes : {std::uint64_t{3} << 32, std::uint64_t{1} << 62})
      EXPECT_EQ(kOutOfMemory, device->create_buffer(heap, bytes, State::common, &none));
  std::string message;
  EXPECT_TRUE(device->check_layout(&message).ok());
  std::unique_ptr<Layout> layout;
  ASSERT_TRUE(device->create_layout(&layout).ok());
  std::unique_ptr<Pipeline> pipeline;
  const std::vector<std::byte> nonsense(64, std::byte{7});
  EXPECT_EQ(kFailed, device->create_pipeline(*layout, {}, &pipeline));
  EXPECT_EQ(kFailed, device->create_pipeline(*layout, nonsense, &pipeline));
  EXPECT_EQ(kFailed, device->fault_report(&message));  // it keeps none
  EXPECT_FALSE(none || pipeline);
}

TEST_F(VulkanPlatform, ObjectsKeepAliveWhatTheyWereMadeFrom) {
  Lane lane(*device, 64);
  device.reset();
  adapter.reset();
  factory.reset();
  std::memset(lane.in, 0x5A, 64);
  lane.open();
  lane.record_way(64);
  lane.run();
  lane.allocator.reset();  // the list needs its memory
  lane.wait();
  EXPECT_EQ(std::byte{0x5A}, lane.seen[63]);
}

TEST_F(VulkanPlatform, AQueueWaitsForItsWorkWhenItGoes) {
  constexpr std::uint64_t kBytes = 32 << 20;
  Lane lane(*device, kBytes);
  std::memset(lane.in, 0x11, kBytes);
  lane.open();
  lane.record_way(kBytes);
  EXPECT_TRUE(lane.list->close().ok());
  lane.queue->execute(*lane.list);
  lane.queue.reset();
  EXPECT_EQ(std::byte{0x11}, lane.seen[kBytes - 1]);
}

// Nothing else tells that the layer watches at all.
TEST_F(VulkanPlatform, TheLayerSeesAMissingTransition) {
  Lane lane(*device, 64);
  lane.open();
  lane.list->copy(*lane.local, 0, *lane.upload, 0, 64);
  lane.list->copy(*lane.local, 0, *lane.upload, 0, 32);  // in order by themselves
  EXPECT_TRUE(device->take_messages().empty());
  lane.list->copy(*lane.readback, 0, *lane.local, 0, 64);
  const std::vector<DebugMessage> messages = device->take_messages();
  ASSERT_EQ(1u, messages.size());
  EXPECT_EQ(Severity::error, messages[0].severity);
  EXPECT_NE(std::string::npos, messages[0].text.find("racing")) << messages[0].text;
  lane.run();
  lane.wait();
}

// A removal is met by the next list of any queue; what runs already comes to its end.
TEST_F(VulkanPlatform, WaitsEndOnALostDevice) {
  Lane lane(*device, 64);
  lane.open();
  lane.run();
  EXPECT_TRUE(device->removed_reason().ok());
  device->remove();
  EXPECT_EQ(kDeviceRemoved, device->removed_reason());
  lane.wait();
  lane.open();  // recording goes on until a list is handed over
  lane.run();
  EXPECT_TRUE(lane.fence->wait(lane.value).ok());
  EXPECT_EQ(kDeviceRemoved, device->removed_reason());
  EXPECT_EQ(kDeviceRemoved, lane.allocator->reset());
  std::unique_ptr<Resource> none;
  EXPECT_EQ(kDeviceRemoved, device->create_buffer(Heap::upload, 64, State::generic_read, &none));
}

TEST_F(VulkanPlatform, TwoQueuesOnTwoThreads) {
  const auto work = [&](int seed) {
    Lane lane(*device, 4096);
    for (int round = 0; round < 100; ++round) {
      std::memset(lane.in, (seed + round) & 0xFF, 4096);
      lane.open();
      lane.record_way(4096);
      lane.run();
      lane.wait();
      if (std::memcmp(lane.in, lane.seen, 4096) != 0) return ADD_FAILURE() << "round " << round;
    }
  };
  std::thread other(work, 100);
  work(0);
  other.join();
}

}  // namespace
}  // namespace morva::gpu
