#include "gpu/stages/filters.h"

#include <algorithm>

#include "gpu/stages/element_launch.h"
#include "gpu/stages/pixel_ops.h"
#include "gpu/stages/resample_pass.h"
#include "image/half_kernel.h"

namespace morva::gpu {

namespace {

constexpr std::uint32_t kTiledRadius = 128;   // the widest that a group's memory holds
constexpr std::int32_t kTiledHeight = 65536;  // from here on there are more rows than groups
constexpr std::uint32_t kRowStretch = 256;    // pixels of a row that one group makes
constexpr std::uint32_t kTileColumns = 16;    // and its tile down columns
constexpr std::uint32_t kTileRows = 64;

std::uint32_t groups_of(std::int32_t count, std::uint32_t each) {
  return (word(count) + each - 1) / each;
}

// All channels of a picture as one plane, good for what runs along columns alone.
Plane interleaved_plane(const GImage& picture) {
  return {picture.buffer, picture.height, picture.width * picture.channels, 1, 0};
}

bool same_place(const Plane& a, const Plane& b) {
  return a.buffer == b.buffer && a.stride == b.stride && a.offset == b.offset;
}

enum class Along { rows, columns };

void correlate(Device& device, const Plane& from, const Plane& to, Along along,
               const std::vector<float>& weights, int mode) {
  const auto radius = static_cast<std::uint32_t>(weights.size() - 1);
  const bool rows = along == Along::rows;
  const std::vector<std::uint32_t> constants = {
      word(from.width),  word(from.height), rows ? 1u : 0u,  radius,         word(mode),
      word(from.stride), word(from.offset), word(to.stride), word(to.offset)};
  const std::vector<Buffer*> buffers = {from.buffer.get(), to.buffer.get()};
  const std::uint32_t tiles_x = groups_of(from.width, rows ? kRowStretch : kTileColumns);
  const bool tiled = radius <= kTiledRadius && from.height < kTiledHeight && tiles_x <= kMostGroups;
  if (!tiled) {
    launch_elements(device, rows ? Kernel::gauss_line : Kernel::gauss_col, pixels(from), constants,
                    weights, buffers);
  } else if (rows) {
    device.dispatch(Kernel::gauss_row, tiles_x, word(from.height), constants, weights, buffers);
  } else {
    device.dispatch(Kernel::gauss_col_tile, tiles_x, groups_of(from.height, kTileRows), constants,
                    weights, buffers);
  }
}

std::vector<float> gaussian_weights(double sigma) {
  const HalfKernel half = gaussian_half(sigma);
  std::vector<float> weights(half.weights.size());
  std::transform(half.weights.begin(), half.weights.end(), weights.begin(),
                 [](double weight) { return static_cast<float>(weight); });
  return weights;
}

GImage gaussian_filter(Device& device, const GImage& picture, double sigma, int mode) {
  if (sigma <= kNoBlurSigma) return copy_of(device, picture);
  const std::vector<float> weights = gaussian_weights(sigma);
  const GImage half_way = device.image(picture.height, picture.width, picture.channels);
  correlate(device, interleaved_plane(picture), interleaved_plane(half_way), Along::columns,
            weights, mode);
  GImage blurred = device.image(picture.height, picture.width, picture.channels);
  for (std::int32_t k = 0; k < picture.channels; ++k)
    correlate(device, plane_of(half_way, k), plane_of(blurred, k), Along::rows, weights, mode);
  return blurred;
}

Taps resize_taps(std::int32_t in_size, std::int32_t out_size, int filter) {
  const ResizeCoefficients axis = resize_coefficients(in_size, out_size, filter);
  Taps taps(out_size, static_cast<std::uint32_t>(axis.tap_stride));
  for (std::int32_t i = 0; i < out_size; ++i) {
    const auto at = static_cast<std::size_t>(i);
    taps.set(i, axis.first[at], &axis.taps[at * axis.tap_stride], axis.count[at]);
  }
  return taps;
}

GImage to_width(Device& device, const GImage& picture, std::int32_t new_w, int filter) {
  if (new_w == picture.width) return picture;
  GImage resized = device.image(picture.height, new_w, picture.channels);
  const Taps taps = resize_taps(picture.width, new_w, filter);
  for (std::int32_t k = 0; k < picture.channels; ++k)
    resample(device, Kernel::resample_h, plane_of(picture, k), plane_of(resized, k), taps);
  return resized;
}

GImage to_height(Device& device, const GImage& picture, std::int32_t new_h, int filter) {
  if (new_h == picture.height) return picture;
  GImage resized = device.image(new_h, picture.width, picture.channels);
  resample(device, Kernel::resample_v, interleaved_plane(picture), interleaved_plane(resized),
           resize_taps(picture.height, new_h, filter));
  return resized;
}

// To the size of `to`, which lies elsewhere.
void resize_plane(Device& device, const Plane& from, const Plane& to, int filter) {
  if (from.width == to.width && from.height == to.height) {
    copy_plane(device, from, to);
    return;
  }
  Plane narrowed = from;
  if (from.width != to.width) {
    narrowed = from.height == to.height ? to : plane_of(device.image(from.height, to.width, 1));
    resample(device, Kernel::resample_h, from, narrowed, resize_taps(from.width, to.width, filter));
  }
  if (from.height != to.height)
    resample(device, Kernel::resample_v, narrowed, to, resize_taps(from.height, to.height, filter));
}

}  // namespace

void gaussian_filter(Device& device, const Plane& from, const Plane& to, double sigma, int mode) {
  if (sigma <= kNoBlurSigma) {
    if (!same_place(from, to)) copy_plane(device, from, to);
    return;
  }
  const std::vector<float> weights = gaussian_weights(sigma);
  const Plane half_way = plane_of(device.image(from.height, from.width, 1));
  correlate(device, from, half_way, Along::columns, weights, mode);
  correlate(device, half_way, to, Along::rows, weights, mode);
}

GImage blur_image(Device& device, const GImage& picture, double sigma) {
  if (sigma <= 0.0 || pixels(picture) == 0) return copy_of(device, picture);
  const auto reduced = reduced_blur({picture.width, picture.height}, sigma);
  if (!reduced) return gaussian_filter(device, picture, sigma, kBoundaryNearest);
  GImage small = resize(device, picture, reduced->size.w, reduced->size.h, kResizeTriangle);
  small = gaussian_filter(device, small, reduced->sigma, kBoundaryNearest);
  return resize(device, small, picture.width, picture.height, kResizeTriangle);
}

void blur_plane(Device& device, const Plane& from, const Plane& to, double sigma) {
  const auto reduced = reduced_blur({from.width, from.height}, sigma);
  if (!reduced || pixels(from) == 0) {
    gaussian_filter(device, from, to, sigma, kBoundaryNearest);
    return;
  }
  const Plane small = plane_of(device.image(reduced->size.h, reduced->size.w, 1));
  resize_plane(device, from, small, kResizeTriangle);
  gaussian_filter(device, small, small, reduced->sigma, kBoundaryNearest);
  resize_plane(device, small, to, kResizeTriangle);
}

GImage resize(Device& device, const GImage& picture, std::int32_t new_w, std::int32_t new_h,
              int filter) {
  if (pixels(picture) == 0) return picture;
  return to_height(device, to_width(device, picture, new_w, filter), new_h, filter);
}

}  // namespace morva::gpu
