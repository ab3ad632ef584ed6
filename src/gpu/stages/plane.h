// One channel inside a picture on the GPU, which a filter reads or writes where it stands.
#pragma once

#include <cstdint>
#include <memory>

#include "gpu/buffer.h"

namespace morva::gpu {

// Element i, in row order, stands at floats[i * stride + offset] of the buffer.
struct Plane {
  std::shared_ptr<Buffer> buffer;
  std::int32_t height = 0;
  std::int32_t width = 0;
  std::int32_t stride = 1;
  std::int32_t offset = 0;
};

inline Plane plane_of(const GImage& picture, std::int32_t channel = 0) {
  return {picture.buffer, picture.height, picture.width, picture.channels, channel};
}

inline std::uint64_t pixels(const GImage& picture) {
  return static_cast<std::uint64_t>(picture.height) * static_cast<std::uint64_t>(picture.width);
}

inline std::uint64_t floats(const GImage& picture) {
  return pixels(picture) * static_cast<std::uint64_t>(picture.channels);
}

inline std::uint64_t pixels(const Plane& plane) {
  return static_cast<std::uint64_t>(plane.height) * static_cast<std::uint64_t>(plane.width);
}

}  // namespace morva::gpu
