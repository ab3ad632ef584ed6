// The inner loops of the filters and of the resampler, compiled once for each instruction set.
// Vectors run over outputs, never over the terms of one output: each output is summed in the order
// that its definition gives, so every set computes the same bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace morva::vector {

// Lines that are filtered side by side: 16 floats are one cache line of a plane.
inline constexpr std::size_t kLanes = 16;

struct alignas(64) Lanes {
  double at[kLanes];
};
struct alignas(64) LaneFloats {
  float at[kLanes];
};

// The most columns that are filtered in one call.
inline constexpr std::size_t kColumnStrip = 16 * kLanes;

// Outputs of one axis that are resampled at a time.
inline constexpr std::size_t kResampleTile = 64;

// Weights of `outputs` outputs along one axis: output i is the sum of taps[i * tap_stride + t]
// times sample first[i] + t, for t = 0 .. count[i] - 1 in that order. `first` never falls.
struct AxisTaps {
  const std::int32_t* first;
  const std::int32_t* count;
  const double* taps;
  std::size_t tap_stride;
  std::size_t outputs;
};

struct FilterLoops {
  void (*widen)(const float* in, double* out, std::size_t n);
  void (*narrow)(const double* in, float* out, std::size_t n);

  // Correlation with a symmetric kernel along an array whose neighbours stand `step` apart. half[k]
  // is the weight at distance k. `centre` points at the first output's own sample; `radius` *
  // `step` samples must be there on either side. The far taps are added first, the centre before
  // all.
  void (*correlate_line)(const double* centre, std::size_t outputs, std::size_t step,
                         const double* half, std::size_t radius, float* out);

  // The same down at most kColumnStrip adjacent columns. Row j - radius of the extended columns
  // begins at src + row_offset[j], for rows + 2 * radius of them; a negative offset is a row of
  // zeros. `work` holds a block of rows + 2 * radius elements for each kLanes columns,
  // `block_stride` from the next.
  void (*correlate_columns)(const float* src, const std::ptrdiff_t* row_offset, std::size_t rows,
                            std::size_t columns, const double* half, std::size_t radius,
                            Lanes* work, std::size_t block_stride, float* out,
                            std::size_t out_stride);

  // Resamples along each of at most kLanes rows of interleaved pixels, samples rounded to single
  // precision. `work` holds the longest stretch of inputs that kResampleTile consecutive outputs
  // reach.
  void (*resample_rows)(const float* src, std::size_t src_stride, std::size_t rows,
                        std::size_t channels, const AxisTaps& axis, Lanes* work, double* out,
                        std::size_t out_stride);

  // Resamples down `samples` adjacent columns. `window` holds the rows from `window_first` on.
  void (*resample_columns)(const double* window, std::size_t window_stride,
                           std::int32_t window_first, const AxisTaps& axis, std::size_t samples,
                           float* out, std::size_t out_stride);
};

// The table of the instruction set in use.
const FilterLoops& filter_loops();

namespace baseline {
const FilterLoops& filter_loops();
}
namespace avx2 {
const FilterLoops& filter_loops();
}
namespace avx512 {
const FilterLoops& filter_loops();
}

}  // namespace morva::vector
