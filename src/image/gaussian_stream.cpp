#include "image/gaussian_stream.h"

#include <algorithm>
#include <vector>

#include "image/half_kernel.h"
#include "image/vector/filter_loops.h"

namespace morva {

namespace {

using vector::kLanes;

constexpr std::size_t kTileColumns = vector::kColumnStrip;

std::size_t round_up(std::size_t n, std::size_t unit) {
  return (n + unit - 1) / unit * unit;
}

// The rows of the plane that a band needs, in a ring: row y stands in slot y mod capacity.
class RowRing {
 public:
  RowRing(std::size_t rows, std::size_t width, std::size_t radius)
      : rows_(rows),
        // Eight rows more than a band and its margins, in whole eights, since generators come in
        // eights.
        capacity_(std::min(rows, round_up(kStreamRows + 2 * radius, 8) + 8)),
        stride_(round_up(width, kLanes) + kLanes),
        samples_(capacity_ * stride_) {}

  // Reads the tile's part of the rows from `begin` up to `end`.
  void read(std::size_t begin, std::size_t end, std::size_t x, std::size_t columns,
            const ReadTile& read_tile) {
    for (std::size_t y = begin; y < end;) {
      const std::size_t slot = y % capacity_;
      const std::size_t count = std::min(end - y, capacity_ - slot);
      read_tile({y, x, count, columns}, &samples_[slot * stride_ + x], stride_);
      y += count;
    }
  }

  // Where the rows y - radius .. y + count + radius - 1 of the mirrored plane begin.
  void find_rows(std::size_t y, std::size_t count, std::size_t radius,
                 std::vector<std::ptrdiff_t>& offsets) const {
    offsets.resize(count + 2 * radius);
    for (std::size_t j = 0; j < offsets.size(); ++j) {
      const std::ptrdiff_t row =
          source_index(static_cast<std::ptrdiff_t>(y + j) - static_cast<std::ptrdiff_t>(radius),
                       static_cast<std::ptrdiff_t>(rows_), kBoundaryReflect);
      offsets[j] = static_cast<std::ptrdiff_t>(static_cast<std::size_t>(row) % capacity_ * stride_);
    }
  }

  const float* column(std::size_t x) const { return &samples_[x]; }

 private:
  std::size_t rows_;
  std::size_t capacity_;
  std::size_t stride_;
  std::vector<float> samples_;
};

// The second pass, which lags behind the first by the kernel's radius: columns that are still
// needed stand at the front of each row of a band.
class RowLag {
 public:
  RowLag(std::size_t width, const HalfKernel& half)
      : width_(width),
        half_(half),
        stride_(round_up(2 * half.radius() + kTileColumns, kLanes) + kLanes),
        band_(kStreamRows * stride_),
        line_(kTileColumns + 4 * half.radius() + 1),
        tile_(kStreamRows * out_columns(half)) {}

  void start_band() { first_ = have_ = done_ = 0; }

  // Where the next columns of the first pass go.
  float* next_columns() { return &band_[have_ - first_]; }
  std::size_t stride() const { return stride_; }

  // `columns` more columns of the band stand in place: filters all that can be filtered now.
  void add(std::size_t columns, std::size_t y, std::size_t rows, const TakeTile& take) {
    have_ += columns;
    const std::size_t radius = half_.radius();
    const std::size_t end = have_ == width_ ? width_ : have_ - std::min(have_, radius);
    if (end > done_) {
      const std::size_t out_stride = out_columns(half_);
      for (std::size_t j = 0; j < rows; ++j)
        filter(&band_[j * stride_], end, &tile_[j * out_stride]);
      take({y, done_, rows, end - done_}, tile_.data(), out_stride);
      done_ = end;
    }
    drop(done_ - std::min(done_, radius), rows);
  }

 private:
  static std::size_t out_columns(const HalfKernel& half) {
    return round_up(kTileColumns + half.radius(), kLanes);
  }

  // Outputs done_ .. end - 1 of one row.
  void filter(const float* row, std::size_t end, float* out) {
    const std::size_t radius = half_.radius();
    const std::size_t left = std::min(done_, radius);  // columns present before the first output
    const std::size_t right = std::min(have_ - end, radius);
    double* centre = line_.data() + radius;
    vector::filter_loops().widen(row + (done_ - left - first_), centre - left,
                                 left + (end - done_) + right);
    for (std::size_t k = left + 1; k <= radius; ++k)
      centre[-static_cast<std::ptrdiff_t>(k)] =
          mirrored(row, static_cast<std::ptrdiff_t>(done_) - static_cast<std::ptrdiff_t>(k));
    for (std::size_t k = right; k < radius; ++k)
      centre[end - done_ + k] = mirrored(row, static_cast<std::ptrdiff_t>(end + k));
    vector::filter_loops().correlate_line(centre, end - done_, 1, half_.weights.data(), radius,
                                          out);
  }

  double mirrored(const float* row, std::ptrdiff_t column) const {
    const std::ptrdiff_t from =
        source_index(column, static_cast<std::ptrdiff_t>(width_), kBoundaryReflect);
    return static_cast<double>(row[static_cast<std::size_t>(from) - first_]);
  }

  // Lets go of the columns before `first`.
  void drop(std::size_t first, std::size_t rows) {
    if (first == first_) return;
    for (std::size_t j = 0; j < rows; ++j) {
      float* row = &band_[j * stride_];
      std::copy(row + (first - first_), row + (have_ - first_), row);
    }
    first_ = first;
  }

  std::size_t width_;
  const HalfKernel& half_;
  std::size_t stride_;
  std::vector<float> band_;
  std::vector<double> line_;
  std::vector<float> tile_;
  std::size_t first_ = 0;  // the first column that stands in the band
  std::size_t have_ = 0;   // one past the last
  std::size_t done_ = 0;   // columns that were given out
};

}  // namespace

void stream_gaussian(std::size_t rows, std::size_t width, double sigma, const ReadTile& read,
                     const TakeTile& take) {
  if (rows == 0 || width == 0) return;
  const HalfKernel half = sigma <= kNoBlurSigma ? HalfKernel{{1.0}} : gaussian_half(sigma);
  const std::size_t radius = half.radius();
  RowRing ring(rows, width, radius);
  RowLag lag(width, half);
  // Odd, so that the blocks do not fall on the same lines of a cache.
  const std::size_t block_stride = (kStreamRows + 2 * radius) | 1;
  std::vector<vector::Lanes> work(kTileColumns / kLanes * block_stride);
  std::vector<std::ptrdiff_t> offsets;

  std::size_t read_to = 0;
  for (std::size_t y = 0; y < rows; y += kStreamRows) {
    const std::size_t count = std::min(kStreamRows, rows - y);
    const std::size_t needed = std::min(rows, y + count + radius);
    ring.find_rows(y, count, radius, offsets);
    lag.start_band();
    for (std::size_t x = 0; x < width; x += kTileColumns) {
      const std::size_t columns = std::min(kTileColumns, width - x);
      ring.read(read_to, needed, x, columns, read);
      vector::filter_loops().correlate_columns(ring.column(x), offsets.data(), count, columns,
                                               half.weights.data(), radius, work.data(),
                                               block_stride, lag.next_columns(), lag.stride());
      lag.add(columns, y, count, take);
    }
    read_to = needed;
  }
}

}  // namespace morva
