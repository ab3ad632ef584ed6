// Data on the GPU: plain buffers of floats, and pictures in them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "gpu/platform/recording.h"

namespace morva::gpu {

namespace platform {
class Device;
}

// Memory of its own with a name, in the state that its heap asks for. Failures as check() tells,
// under `prefix`.
std::unique_ptr<platform::Resource> create_buffer(platform::Device& device, platform::Heap heap,
                                                  std::uint64_t bytes, const std::string& name,
                                                  const char* prefix = "DX12");

// One allocation. Users hold it by a shared_ptr from Device::alloc(), which gives it back to the
// device's pool; it must not outlive that device. Any thread may drop it.
struct Buffer {
  std::unique_ptr<platform::Resource> resource;
  std::uint64_t count = 0;                          // capacity in floats
  platform::State state = platform::State::common;  // as last recorded in the open list
};

// A picture laid out as Image is: rows of interleaved pixels. The buffer may be larger.
struct GImage {
  std::shared_ptr<Buffer> buffer;
  std::int32_t height = 0;
  std::int32_t width = 0;
  std::int32_t channels = 0;
};

// In bytes, but for the last. Budget and usage are 0 where the platform does not tell.
struct PoolStats {
  std::uint64_t local_budget = 0;
  std::uint64_t local_usage = 0;
  std::uint64_t shared_budget = 0;
  std::uint64_t shared_usage = 0;
  std::uint64_t pool_free_bytes = 0;
  std::uint64_t pool_total_bytes = 0;
  std::uint64_t pending_dispatches = 0;  // recorded into the open list
};

}  // namespace morva::gpu
