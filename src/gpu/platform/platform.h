// The GPU as the device layer sees it: adapters, the device made on one, the memory it has left.
// All decisions (what to record, when to submit, what to keep) are made above this interface, so
// that they can be tested without a GPU.
//
// Ownership: each object is owned by its caller and keeps alive what it was made from, so that they
// may go in any order; only the platform outlives them all. Every call that returns a Result may
// fail, and then leaves its output as it was. Nothing throws but std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "gpu/platform/recording.h"
#include "gpu/platform/result.h"

namespace morva::gpu::platform {

struct AdapterDescription {
  std::string name;  // UTF-8
  bool software = false;
  std::uint64_t dedicated_bytes = 0;
};

struct Architecture {
  bool uma = false;             // host and GPU share one memory
  bool cache_coherent = false;  // and its caches
};

enum class Segment { local, non_local };

// Of this process, in bytes.
struct MemoryInfo {
  std::uint64_t budget = 0;
  std::uint64_t usage = 0;
};

enum class Severity { corruption, error, warning, info, message };

struct DebugMessage {
  Severity severity = Severity::message;
  std::string text;
};

class Device {
 public:
  virtual ~Device() = default;

  virtual Result architecture(Architecture* out) = 0;
  // Whether kernels may use double precision.
  virtual Result double_support(bool* out) = 0;

  virtual Result create_queue(std::unique_ptr<Queue>* out) = 0;
  virtual Result create_allocator(std::unique_ptr<Allocator>* out) = 0;
  // Made open, with its allocator.
  virtual Result create_list(Allocator& allocator, std::unique_ptr<List>* out) = 0;
  virtual Result create_fence(std::uint64_t value, std::unique_ptr<Fence>* out) = 0;
  virtual Result create_query_heap(std::uint32_t count, std::unique_ptr<QueryHeap>* out) = 0;
  // A buffer with memory of its own, its size a multiple of 4. Default buffers allow unordered
  // access and start `common`, upload buffers start and stay `generic_read`, readback buffers
  // `copy_dest`. Contents are not defined. A size beyond what the device binds or allocates is
  // kOutOfMemory. Safe beside recording on another thread.
  virtual Result create_buffer(Heap heap, std::uint64_t bytes, State initial,
                               std::unique_ptr<Resource>* out) = 0;

  // Whether the device can bind what every dispatch needs; `message` says why not.
  virtual Result check_layout(std::string* message) = 0;
  virtual Result create_layout(std::unique_ptr<Layout>* out) = 0;
  // `code` is the kernel compiled for this platform. Safe beside recording on another thread.
  virtual Result create_pipeline(Layout& layout, std::span<const std::byte> code,
                                 std::unique_ptr<Pipeline>* out) = 0;

  // Success while the device lives; once lost, the same failure for ever. Any thread.
  virtual Result removed_reason() = 0;
  // Takes the device away, as a driver reset would: the next list that is handed over meets a lost
  // device, and so does everything after it.
  virtual void remove() = 0;
  // What the driver has recorded of the fault that lost the device, lines of text. Fails where it
  // keeps no such records.
  virtual Result fault_report(std::string* out) = 0;

  // Keeps the debug layer's messages from here on, the newest `limit` of them; fails without one.
  virtual Result keep_messages(std::uint32_t limit) = 0;
  // All kept messages, oldest first; they are forgotten.
  virtual std::vector<DebugMessage> take_messages() = 0;
};

class Adapter {
 public:
  virtual ~Adapter() = default;
  virtual AdapterDescription description() const = 0;
  // Whether create_device() would find what it needs, without making one.
  virtual Result try_device() = 0;
  virtual Result create_device(std::unique_ptr<Device>* out) = 0;
  // Any thread.
  virtual Result memory(Segment segment, MemoryInfo* out) = 0;
};

class Factory {
 public:
  virtual ~Factory() = default;
  // The fastest first; kNotFound past the last.
  virtual Result adapter(std::uint32_t index, std::unique_ptr<Adapter>* out) = 0;
  virtual Result software_adapter(std::unique_ptr<Adapter>* out) = 0;
};

// The way in. The switches stay on and hold for every factory made after them. A machine without a
// driver has a factory without adapters. Any thread.
class Platform {
 public:
  virtual ~Platform() = default;
  virtual Result enable_debug_layer() = 0;
  // Checks inside kernels too, where the debug layer can; nothing to report if it cannot.
  virtual void enable_kernel_checks() = 0;
  // Keeps what the report of a lost device reads.
  virtual Result enable_loss_records() = 0;
  virtual Result create_factory(std::unique_ptr<Factory>* out) = 0;
  // Monotonic clock in nanoseconds.
  virtual std::int64_t now_ns() = 0;
};

}  // namespace morva::gpu::platform
