// A picture in the host's hands: three interleaved channels of linear light, Rec. 709 primaries,
// row by row. The samples may be the host's own or a block of the library's, which goes back to it.
#pragma once

#include <morva.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace morva::host {

struct PixelSize {
  int32_t width;
  int32_t height;
};

struct SampleRelease {
  bool from_engine = false;
  void operator()(float* samples) const;
};

struct Picture {
  int32_t width = 0;
  int32_t height = 0;
  std::unique_ptr<float[], SampleRelease> samples;

  PixelSize size() const { return {width, height}; }
  std::size_t row_samples() const { return static_cast<std::size_t>(width) * 3; }
  std::span<const float> row(int32_t y) const {
    return {samples.get() + static_cast<std::size_t>(y) * row_samples(), row_samples()};
  }
};

// A picture of that size with its samples still to be written.
Picture new_picture(int32_t width, int32_t height);

// Takes over a picture that the library returned. Throws when it does not have three channels.
Picture take_picture(MorvaImage& image);

}  // namespace morva::host
