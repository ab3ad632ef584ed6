// One GPU with one compute queue and one list of commands. Work is recorded into the list, which
// ends by itself when its estimated time passes the budget, or at a download. submit() waits for
// the GPU, so at most one list is in flight and everything a list used is free when it returns.
//
// Errors: a lost device and memory that is not to be had throw GpuLost, every other platform
// failure std::runtime_error, with "DX12: ..." and the HRESULT. After an exception from here the
// list may be left open: abandon() it, or destroy the device. Threads: one at a time, but for
// pool_stats(), share() and for dropping a buffer, which any thread may do.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "gpu/buffer.h"
#include "gpu/kernel_table.h"
#include "gpu/launch_shape.h"
#include "gpu/platform/platform.h"
#include "gpu/render_stats.h"
#include "image/image.h"

namespace morva::gpu {

struct DeviceState;
struct KernelCall;
struct Launch;

struct DeviceInfo {
  std::string adapter_name;  // UTF-8
  bool uma = false;
  bool cache_coherent = false;
  bool software = false;
  bool debug_layer = false;
  bool doubles = false;  // kernels may use double precision; without it `rowsum` must not be called
  std::uint64_t vram_mb = 0;
};

// What a view holds on to, so that it may outlive the device.
struct SharedParts {
  std::shared_ptr<platform::Device> device;
  std::shared_ptr<platform::Layout> layout;
  std::shared_ptr<platform::Pipeline> view_pack;
};

class Device {
 public:
  // The fastest hardware adapter that works, or the software one. `source` must outlive the device.
  // MORVA_DX12_DEBUG switches the debug layer on, MORVA_GPU_DRED=0 the loss records off.
  Device(bool software, platform::Platform& source);
  // Runs what is still recorded. All buffers must have been dropped.
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  const DeviceInfo& info() const;
  // Builds every pipeline now. A kernel that cannot be built is a std::runtime_error, never
  // GpuLost.
  void warm_up();

  // Runs `kernel` on groups of 256 threads; without groups nothing. At most 16 `constants`, of
  // which the sixteenth is the threads in a row unless given; `table` is copied; of at most 6
  // `buffers` null ones stand for a small buffer of no meaning. Buffers must live until the list has run or go back to the
  // pool. Over the limits: std::logic_error.
  void dispatch(Kernel kernel, std::uint32_t groups_x, std::uint32_t groups_y,
                const std::vector<std::uint32_t>& constants, const std::vector<float>& table,
                const std::vector<Buffer*>& buffers);
  // Ends the open list, runs it and waits; nothing without one.
  void submit();
  // Drops the open list with all that was recorded. Does not throw.
  void abandon() noexcept;

  // A buffer of at least `count` floats, at most twice as many when one is at hand; contents are
  // not defined. When memory is short the pool is emptied and the allocation tried once more.
  std::shared_ptr<Buffer> alloc(std::uint64_t count);
  GImage image(std::int32_t height, std::int32_t width, std::int32_t channels);
  // New buffers with these floats in them. The source is free when the call returns.
  std::shared_ptr<Buffer> upload(const float* data, std::uint64_t count);
  GImage upload(const Image& picture);
  // The first `count` floats, which the buffer must hold. Submits and waits.
  std::vector<float> download(Buffer& buffer, std::uint64_t count);
  Image download(const GImage& picture);
  // Copies `count` floats between two different buffers that hold them; offsets in floats.
  void copy(Buffer& from, std::uint64_t from_offset, Buffer& to, std::uint64_t to_offset,
            std::uint64_t count);
  // Destroys free buffers: all when aggressive, else as many as the memory budget asks for.
  void trim(bool aggressive);
  // Any thread, also during a render.
  PoolStats pool_stats() const;

  // Builds the view's kernel if need be. Any thread, also during a render; not during warm_up().
  SharedParts share();

  // A stage's time on the GPU, between two calls; stages nest.
  void begin_mark(const std::string& label);
  void end_mark();
  void set_profiling(bool on);
  bool profiling() const;
  const RenderStats& stats() const;
  void reset_stats();

  // Why the device went (a LossReason), 0 while it lives.
  std::uint32_t removed_reason() const;
  // What is known of why it went: the reason, and the driver's record of the fault where it keeps
  // one. Lines of text.
  std::string loss_report() const;
  // Warnings and errors of the debug layer since the last call.
  std::vector<std::string> debug_messages();

 private:
  // One launch, after the open list has ended if it would become too long.
  void launch(const KernelCall& call, const Launch& launch);
  // Once memory ran short: empties the pool and tries again.
  Buffer* make_after_trim(std::uint64_t count);

  std::unique_ptr<DeviceState> state_;
};

}  // namespace morva::gpu
