// A kernel launched with one thread for each element.
#pragma once

#include <cstdint>
#include <vector>

#include "gpu/device.h"

namespace morva::gpu {

// A constant of a kernel.
inline std::uint32_t word(std::int32_t number) {
  return static_cast<std::uint32_t>(number);
}
inline std::uint32_t word(std::uint64_t count) {
  return static_cast<std::uint32_t>(count);
}

inline void launch_elements(Device& device, Kernel kernel, std::uint64_t threads,
                            const std::vector<std::uint32_t>& constants,
                            const std::vector<float>& table, const std::vector<Buffer*>& buffers) {
  const LaunchGrid shape = grid(threads);
  device.dispatch(kernel, shape.groups_x, shape.groups_y, constants, table, buffers);
}

}  // namespace morva::gpu
