#include "image/filters.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "image/elementary.h"
#include "image/growing_image.h"
#include "image/half_kernel.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"
#include "image/vector/filter_loops.h"

namespace morva {

namespace {

using vector::kColumnStrip;
using vector::kLanes;
using vector::Lanes;

constexpr double kTruncate = 4.0;          // sigmas that a kernel reaches
constexpr double kMaxRadius = 1048576.0;   // samples
constexpr double kDirectBlurSigma = 10.0;  // px; a wider blur goes through a reduced raster
constexpr double kReducedSigma = 6.0;      // px on that raster
constexpr double kReducedSide = 16.0;      // px, its smallest side
constexpr std::size_t kColumnWork = 4096;  // lanes of work space for columns: half a megabyte
constexpr std::size_t kBandRows = 48;      // rows between the two passes, held in the cache

// Filters down columns, a band of rows at a time.
class ColumnPass {
 public:
  ColumnPass(const float* src, std::size_t rows, std::size_t row_samples, const HalfKernel& half,
             int mode)
      : src_(src),
        row_samples_(row_samples),
        half_(half),
        from_(extended_line(rows, half.radius(), mode, row_samples)) {
    // Odd, so that the blocks do not fall on the same lines of a cache.
    block_stride_ = (std::min(rows, kBandRows) + 2 * half.radius()) | 1;
    const std::size_t blocks =
        std::clamp<std::size_t>(kColumnWork / block_stride_, 1, kColumnStrip / kLanes);
    strip_ = std::min(blocks * kLanes, row_samples);
    work_.resize((strip_ + kLanes - 1) / kLanes * block_stride_);
  }

  // Rows first .. first + count - 1 into `out`; count is at most kBandRows.
  void filter(std::size_t first, std::size_t count, float* out, std::size_t out_stride) {
    const vector::FilterLoops& loops = vector::filter_loops();
    for (std::size_t x = 0; x < row_samples_; x += strip_)
      loops.correlate_columns(src_ + x, from_.data() + first, count,
                              std::min(strip_, row_samples_ - x), half_.weights.data(),
                              half_.radius(), work_.data(), block_stride_, out + x, out_stride);
  }

 private:
  const float* src_;
  std::size_t row_samples_;
  const HalfKernel& half_;
  std::vector<std::ptrdiff_t> from_;
  std::size_t block_stride_;
  std::size_t strip_;  // columns at a time
  std::vector<Lanes> work_;
};

// Filters along rows of interleaved pixels through one line of doubles with margins.
class RowPass {
 public:
  RowPass(std::size_t pixels, std::size_t channels, const HalfKernel& half, int mode)
      : pixels_(pixels),
        channels_(channels),
        half_(half),
        from_(extended_line(pixels, half.radius(), mode, channels)),
        line_((pixels + 2 * half.radius()) * channels) {}

  void filter(const float* in, float* out) {
    const vector::FilterLoops& loops = vector::filter_loops();
    const std::size_t radius = half_.radius();
    double* centre = line_.data() + radius * channels_;
    loops.widen(in, centre, pixels_ * channels_);
    for (std::size_t j = 0; j < radius; ++j) fill_margin(j);
    for (std::size_t j = radius + pixels_; j < from_.size(); ++j) fill_margin(j);
    loops.correlate_line(centre, pixels_ * channels_, channels_, half_.weights.data(), radius, out);
  }

 private:
  void fill_margin(std::size_t j) {
    double* to = line_.data() + j * channels_;
    const double* from = line_.data() + half_.radius() * channels_ + from_[j];
    for (std::size_t k = 0; k < channels_; ++k) to[k] = from_[j] < 0 ? 0.0 : from[k];
  }

  std::size_t pixels_;
  std::size_t channels_;
  const HalfKernel& half_;
  std::vector<std::ptrdiff_t> from_;
  std::vector<double> line_;
};

// Every channel of an interleaved image: the channels are columns like any other in the first pass,
// and neighbours stand c samples apart in the second.
Image blur_gaussian(const Image& image, double sigma, int mode) {
  if (sigma <= kNoBlurSigma || image.data.empty()) return image;
  const HalfKernel half = gaussian_half(sigma);
  Image out = reserve_image(image.h, image.w, image.c);
  const std::size_t rows = static_cast<std::size_t>(image.h);
  const std::size_t row_samples = image.row_samples();
  ColumnPass columns(image.data.data(), rows, row_samples, half, mode);
  RowPass along_rows(static_cast<std::size_t>(image.w), static_cast<std::size_t>(image.c), half,
                     mode);
  // Whole cache lines a row, so that no store of the first pass straddles two.
  const std::size_t band_stride = (row_samples + kLanes - 1) / kLanes;
  std::vector<vector::LaneFloats> band(std::min(rows, kBandRows) * band_stride);
  for (std::size_t first = 0; first < rows; first += kBandRows) {
    const std::size_t count = std::min(kBandRows, rows - first);
    columns.filter(first, count, band[0].at, band_stride * kLanes);
    float* to = add_rows(out, count);
    for (std::size_t y = 0; y < count; ++y)
      along_rows.filter(band[y * band_stride].at, to + y * row_samples);
  }
  return out;
}

// NaN gives the smallest side.
std::int32_t reduced_side(std::int32_t side, double reduction) {
  const double reduced = std::nearbyint(static_cast<double>(side) / reduction);
  return reduced > kReducedSide ? static_cast<std::int32_t>(reduced)
                                : static_cast<std::int32_t>(kReducedSide);
}

}  // namespace

void correlate1d(const float* src, float* dst, int H, int W, bool along_rows,
                 const std::vector<double>& kernel, int mode) {
  const HalfKernel half = half_of(kernel);
  if (H <= 0 || W <= 0) return;
  const std::size_t rows = static_cast<std::size_t>(H);
  const std::size_t row_samples = static_cast<std::size_t>(W);
  if (along_rows) {
    RowPass pass(row_samples, 1, half, mode);
    for (std::size_t y = 0; y < rows; ++y)
      pass.filter(src + y * row_samples, dst + y * row_samples);
  } else {
    ColumnPass pass(src, rows, row_samples, half, mode);
    for (std::size_t first = 0; first < rows; first += kBandRows)
      pass.filter(first, std::min(kBandRows, rows - first), dst + first * row_samples, row_samples);
  }
}

std::vector<double> gaussian_kernel(double sigma, std::int64_t radius) {
  if (radius < 0 || static_cast<double>(radius) > kMaxRadius)
    throw std::length_error("gaussian_kernel: radius " + std::to_string(radius));
  std::vector<double> kernel;
  kernel.reserve(2 * static_cast<std::size_t>(radius) + 1);
  const double exponent = -0.5 / (sigma * sigma);
  for (std::int64_t k = -radius; k <= radius; ++k)
    kernel.push_back(elementary::exp(exponent * static_cast<double>(k * k)));
  const double total = sum_from_first(kernel.data(), kernel.size());
  for (double& weight : kernel) weight /= total;
  return kernel;
}

std::int64_t gaussian_radius(double sigma) {
  const double radius = std::trunc(sigma * kTruncate + 0.5);
  if (!(std::fabs(radius) <= kMaxRadius))
    throw std::length_error("gaussian_radius: sigma " + std::to_string(sigma));
  return static_cast<std::int64_t>(radius);
}

Image gaussian_filter(const Image& image, double sigma, int mode) {
  if (image.c != 1) throw std::logic_error("gaussian_filter: нужен один канал");
  return blur_gaussian(image, sigma, mode);
}

std::vector<float> gaussian_filter_line(const std::vector<float>& values, double sigma, int mode) {
  if (sigma <= kNoBlurSigma || values.empty()) return values;
  const HalfKernel half = gaussian_half(sigma);
  std::vector<float> out(values.size());
  RowPass(values.size(), 1, half, mode).filter(values.data(), out.data());
  return out;
}

Image blur_plane(const Image& image, double sigma) {
  if (!(sigma <= 0.0) && image.c != 1)
    throw std::logic_error(sigma <= kDirectBlurSigma ? "gaussian_filter: нужен один канал"
                                                     : "pil_resize: нужен один канал");
  return blur_image(image, sigma);
}

Image blur_image(const Image& image, double sigma) {
  if (sigma <= 0.0 || image.data.empty()) return image;
  const auto reduced = reduced_blur({image.w, image.h}, sigma);
  if (!reduced) return blur_gaussian(image, sigma, kBoundaryNearest);
  Image small = resize_image(image, reduced->size.w, reduced->size.h, kResizeTriangle);
  small = blur_gaussian(small, reduced->sigma, kBoundaryNearest);
  return resize_image(small, image.w, image.h, kResizeTriangle);
}

std::optional<ReducedBlur> reduced_blur(PixelSize size, double sigma) {
  if (sigma <= kDirectBlurSigma) return std::nullopt;
  const double reduction = sigma / kReducedSigma;
  const PixelSize small = {reduced_side(size.w, reduction), reduced_side(size.h, reduction)};
  return ReducedBlur{small, small.w * sigma / size.w};
}

}  // namespace morva
