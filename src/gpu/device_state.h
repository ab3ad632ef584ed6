// All that a device knows, and the small steps that its operations share. Only the files that make
// up Device include this.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "gpu/buffer.h"
#include "gpu/device.h"
#include "gpu/kernel_table.h"
#include "gpu/platform/platform.h"
#include "gpu/render_stats.h"

namespace morva::gpu {

inline constexpr std::uint32_t kMostQueries = 4096;  // timestamps of one list
inline constexpr std::uint64_t kDummyFloats = 64;

// One timed interval of a list. It is open until its end timestamp is written.
struct Mark {
  std::string label;                         // of a stage
  std::optional<std::uint32_t> begin_query;  // none: there was no room, and it is not timed
  std::uint32_t end_query = 0;
  std::optional<Kernel> kernel = std::nullopt;  // none: a stage
  double work = 0.0;                            // of a dispatch, in work units
  std::uint64_t key = 0;                        // in the cost model
  double estimate_ms = 0.0;
};

// A piece of the upload ring that stays mapped.
struct UploadChunk {
  std::unique_ptr<platform::Resource> resource;
  std::uint64_t size = 0;  // bytes
  std::uint64_t used = 0;
  std::byte* mapped = nullptr;
};

// Room in an upload buffer, good until the list has run. Offset in bytes.
struct UploadSlice {
  std::byte* cpu = nullptr;
  platform::Resource* resource = nullptr;
  std::uint64_t offset = 0;
};

struct DeviceState {
  DeviceInfo info;

  // Each lives longer than those after it.
  platform::Platform* source = nullptr;
  std::unique_ptr<platform::Factory> factory;
  std::unique_ptr<platform::Adapter> adapter;
  std::shared_ptr<platform::Device> device;  // views share it
  std::unique_ptr<platform::Queue> queue;
  std::unique_ptr<platform::Allocator> allocator;
  std::unique_ptr<platform::List> list;
  std::unique_ptr<platform::Fence> fence;
  std::unique_ptr<platform::QueryHeap> queries;
  std::unique_ptr<platform::Resource> query_readback;
  std::shared_ptr<platform::Layout> layout;                                 // and this
  std::array<std::shared_ptr<platform::Pipeline>, kKernelCount> pipelines;  // empty until used

  std::uint64_t fence_value = 0;
  bool open = false;                // the list is recording
  std::int64_t last_submit_ns = 0;  // when the last wait ended
  bool after_idle = false;          // the list was opened after a pause
  bool need_uav_barrier = false;    // a dispatch was recorded since the last barrier
  bool carry_marks = false;         // open marks go on in the next list
  double estimate_ms = 0.0;         // of the open list

  std::uint64_t ticks_per_s = 0;  // 0: this queue has no timestamps
  std::uint32_t queries_used = 0;
  std::optional<std::uint32_t> list_start_query;
  std::vector<Mark> open_marks;
  std::vector<Mark> closed_marks;
  std::vector<const char*> open_labels;  // kernels of the open list
  std::vector<const char*> last_labels;  // and of the one that ended last
  std::atomic<std::uint64_t> pending_dispatches = 0;
  RenderStats stats;
  bool profiling = false;

  // Guards pool, all_buffers, dead_buffers and the pipeline of view_pack; never held while the
  // platform waits.
  std::mutex mutex;
  std::vector<std::unique_ptr<Buffer>> all_buffers;   // free or in use
  std::multimap<std::uint64_t, Buffer*> pool;         // free ones by their count
  std::vector<Buffer*> dead_buffers;                  // to be destroyed when the list ends
  std::vector<std::shared_ptr<Buffer>> kept_buffers;  // in use by the open list
  std::vector<UploadChunk> upload_chunks;
  std::vector<std::unique_ptr<platform::Resource>> big_uploads;  // too big for a chunk
  Buffer dummy;  // bound where a kernel has no buffer

  ~DeviceState() { kept_buffers.clear(); }  // they go back to a pool that must still be there
};

// device_create.cpp
void create_device(DeviceState& state, bool software);
// Makes the kernel's pipeline if there is none.
platform::Result build_pipeline(DeviceState& state, Kernel kernel);

// command_list.cpp
void open_list(DeviceState& state);
bool idle_since_last_submit(const DeviceState& state);
// Dispatches so far are finished before what follows.
void wait_for_dispatches(DeviceState& state);
void transition(DeviceState& state, Buffer& buffer, platform::State to);
// Milliseconds that a copy of so many bytes is taken to last.
double copy_estimate_ms(std::uint64_t bytes);
// Once a list has run or was dropped: everything it used is free again.
void end_list(DeviceState& state);

// stage_marks.cpp
bool has_query_room(const DeviceState& state, std::uint32_t count);
std::uint32_t write_timestamp(DeviceState& state);
void restart_carried_marks(DeviceState& state);
// Before the list closes: ends all marks and the list's own interval, whose last query is returned.
std::optional<std::uint32_t> close_timings(DeviceState& state);
// After the list has run: reads the timestamps into the statistics and the cost model.
void collect_timings(DeviceState& state, std::optional<std::uint32_t> list_end_query);

inline std::unique_ptr<platform::Resource> create_buffer(DeviceState& state, platform::Heap heap,
                                                         std::uint64_t bytes,
                                                         const std::string& name) {
  return create_buffer(*state.device, heap, bytes, name);
}

// buffer_pool.cpp
void destroy_dead_buffers(DeviceState& state);

// transfer.cpp
UploadSlice ring(DeviceState& state, std::uint64_t bytes);

}  // namespace morva::gpu
