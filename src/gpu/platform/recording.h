// What a device hands out: buffers, pipelines, the list that commands are recorded into, the queue
// that runs it and the fence that tells when it has run.
//
// Ownership: every object is owned by whoever asked for it and keeps its device alive. A list only
// borrows: what it names must live until the list has run or was abandoned. Destroying a queue or a
// fence waits for what was handed over.
// Threads: one at a time for each object, but for what is said otherwise.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "gpu/platform/result.h"

namespace morva::gpu::platform {

// What one dispatch sees, the same for every kernel: sixteen 32-bit constants at b0, one more at b1
// (the first row of a band), a read-only table of floats at t0, six buffers at u0 to u5.
inline constexpr std::uint32_t kConstantWords = 16;
inline constexpr std::uint32_t kBufferSlots = 6;

// Where a buffer's memory lies. Default memory is the GPU's own and cannot be mapped.
enum class Heap { device_local, upload, readback };

// What a buffer is being used as. From `common` it turns into whatever its first use in a list
// needs; at the end of a list every buffer is `common` again.
enum class State : std::uint32_t {
  common = 0,
  unordered_access = 8,  // read and written by kernels
  shader_resource = 64,  // read by kernels
  copy_dest = 1024,
  copy_source = 2048,
  generic_read = 2755,  // an upload buffer, for all its life
};

// Names are UTF-8, seen in captures, validation messages and the report of a lost device.
class Named {
 public:
  virtual ~Named() = default;
  virtual void set_name(const std::string& name) = 0;
};

// A linear buffer.
class Resource : public Named {
 public:
  // Host address of an upload or readback buffer, of which the host will read the first
  // `read_bytes` (0 for an upload buffer). The memory is coherent: no flush is needed, what was
  // written before execute() is seen by the list. May fail.
  virtual Result map(std::uint64_t read_bytes, void** memory) = 0;
  // Ends a mapping. A mapped buffer may also be destroyed as it is.
  virtual void unmap() = 0;
};

class Pipeline : public Named {};  // one compiled kernel
class Layout : public Named {};    // how constants and buffers are bound

// The memory that a list is recorded into.
class Allocator : public Named {
 public:
  // Frees what was recorded; its list must have finished or was never run. May fail.
  virtual Result reset() = 0;
};

// Timestamps of one list, in ticks of the queue.
class QueryHeap : public Named {};

// One list of commands, open between reset() and close(). Recording cannot fail; what went wrong
// is told by close(). Commands may overlap unless a barrier or a transition stands between them;
// copies alone run in the order they are recorded, also into the same buffer.
class List : public Named {
 public:
  // Opens the list, empty, on a reset allocator. May fail.
  virtual Result reset(Allocator& allocator) = 0;
  // Ends recording. Also after a failure the list takes no more commands. May fail.
  virtual Result close() = 0;

  virtual void set_layout(Layout& layout) = 0;
  virtual void set_pipeline(Pipeline& pipeline) = 0;
  virtual void set_constants(const std::array<std::uint32_t, kConstantWords>& words) = 0;
  virtual void set_band_row(std::uint32_t row) = 0;
  virtual void bind_table(Resource& table) = 0;
  virtual void bind_buffer(std::uint32_t slot, Resource& buffer) = 0;
  // Groups of 256 x 1 x 1 threads, with what is bound now.
  virtual void dispatch(std::uint32_t groups_x, std::uint32_t groups_y, std::uint32_t groups_z) = 0;

  // Every dispatch so far is finished and its writes are seen before anything that follows.
  virtual void barrier() = 0;
  // `buffer` was used as `from` and will be used as `to`; never called with `from` common.
  virtual void transition(Resource& buffer, State from, State to) = 0;
  // Offsets and size in bytes, multiples of 4, inside both buffers.
  virtual void copy(Resource& to, std::uint64_t to_offset, Resource& from,
                    std::uint64_t from_offset, std::uint64_t bytes) = 0;

  // A name for what follows, for captures and what a driver records of a fault.
  virtual void marker(const char* name) = 0;
  // The queue's clock once everything before has finished. Each index once in a list, one heap a
  // list.
  virtual void end_query(QueryHeap& heap, std::uint32_t index) = 0;
  // Writes `count` timestamps from index 0 as 64-bit ticks to the start of `to`; all of them must
  // have been taken in this list.
  virtual void resolve(QueryHeap& heap, std::uint32_t count, Resource& to) = 0;
};

// A counter that a queue raises when it has come that far.
class Fence : public Named {
 public:
  // Makes what wait() sleeps on; called once, before the first wait. May fail.
  virtual Result open_event() = 0;
  virtual std::uint64_t completed() = 0;
  // Sleeps until the fence has reached `value`, without a time limit, or until the device is lost:
  // that is no failure here, the device's removed_reason() tells it. May fail.
  virtual Result wait(std::uint64_t value) = 0;
};

// Runs lists one after the other. execute() and signal() may be called beside another queue's.
class Queue : public Named {
 public:
  // Hands over a closed list, once. A device that is lost in it tells so in removed_reason().
  virtual void execute(List& list) = 0;
  // Raises the fence to `value` once all lists so far have finished. May fail.
  virtual Result signal(Fence& fence, std::uint64_t value) = 0;
  // Ticks a second of this queue's timestamps. Fails, or gives 0, where the queue has none; then
  // end_query() is never recorded.
  virtual Result timestamp_frequency(std::uint64_t* ticks_per_s) = 0;
};

}  // namespace morva::gpu::platform
