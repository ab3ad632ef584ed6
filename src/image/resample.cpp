#include "image/resample.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>
#include <stdexcept>

#include "image/elementary.h"
#include "image/growing_image.h"
#include "image/row_resizer.h"

namespace morva {

namespace {

constexpr std::size_t kBandRows = 64;  // rows of the result at a time

// Sixteen GiB of taps. What passes it is no picture's resize but a slip in a number.
constexpr std::size_t kMaxTaps = std::size_t{1} << 31;

double sinc(double x) {
  if (x == 0.0) return 1.0;
  const double angle = x * std::numbers::pi;
  return elementary::sin(angle) / angle;
}

double triangle(double x) {
  const double a = std::fabs(x);
  return a < 1.0 ? 1.0 - a : 0.0;
}

double lanczos(double x) {
  return -3.0 <= x && x < 3.0 ? sinc(x) * sinc(x / 3.0) : 0.0;
}

// Keys' cubic convolution with a = -0.5.
double bicubic(double x) {
  const double a = std::fabs(x);
  if (a < 1.0) return (1.5 * a - 2.5) * a * a + 1.0;
  if (a < 2.0) return (((a - 5.0) * a + 8.0) * a - 4.0) * -0.5;
  return 0.0;
}

double box(double x) {
  return -0.5 < x && x <= 0.5 ? 1.0 : 0.0;
}

struct FilterShape {
  double (*weight)(double x);
  double support;
};

FilterShape filter_shape(int filter) {
  switch (filter) {
    case kResizeTriangle:
      return {triangle, 1.0};
    case kResizeBicubic:
      return {bicubic, 2.0};
    case kResizeBox:
      return {box, 0.5};
    default:
      return {lanczos, 3.0};
  }
}

// One axis of a resize, before its taps are computed.
struct AxisGeometry {
  double scale;          // inputs per output
  double support;        // inputs on either side of an output's centre
  double inverse_scale;  // from inputs to the filter's own unit
  std::size_t tap_stride;
};

// Throws std::bad_alloc when the taps of all outputs pass kMaxTaps. out_size is at least 1.
AxisGeometry axis_geometry(std::int32_t in_size, std::int32_t out_size, int filter) {
  const double in_length = static_cast<double>(static_cast<float>(in_size));
  const double scale = in_length / static_cast<double>(out_size);
  const double filterscale = std::max(scale, 1.0);
  const double support = filter_shape(filter).support * filterscale;
  const std::size_t tap_stride = 2 * static_cast<std::size_t>(std::ceil(support)) + 1;
  if (static_cast<std::size_t>(out_size) > kMaxTaps / tap_stride) throw std::bad_alloc();
  return {scale, support, 1.0 / filterscale, tap_stride};
}

// Throws std::bad_alloc for a resize beyond any memory, before any is taken.
void require_room(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter) {
  sample_count(new_h, new_w, image.c);
  if (new_w != image.w) axis_geometry(image.w, new_w, filter);
  if (new_h != image.h) axis_geometry(image.h, new_h, filter);
}

}  // namespace

ResizeCoefficients resize_coefficients(std::int32_t in_size, std::int32_t out_size, int filter) {
  ResizeCoefficients axis;
  if (out_size <= 0) return axis;
  const auto [scale, support, inverse_scale, tap_stride] = axis_geometry(in_size, out_size, filter);
  const auto weight = filter_shape(filter).weight;
  const std::size_t outputs = static_cast<std::size_t>(out_size);
  // Beyond 2^24 the length is rounded to single precision, perhaps up: the last outputs then lie
  // past the end and read the last input.
  const std::int64_t last = std::max<std::int64_t>(std::int64_t{in_size} - 1, 0);
  axis.tap_stride = tap_stride;
  axis.first.resize(outputs);
  axis.count.resize(outputs);
  axis.taps.resize(outputs * axis.tap_stride);
  for (std::size_t i = 0; i < outputs; ++i) {
    const double center = (static_cast<double>(i) + 0.5) * scale;
    const std::int64_t begin =
        std::clamp<std::int64_t>(static_cast<std::int64_t>(center - support + 0.5), 0, last);
    const std::int64_t end =
        std::min<std::int64_t>(static_cast<std::int64_t>(center + support + 0.5), in_size);
    axis.first[i] = static_cast<std::int32_t>(begin);
    axis.count[i] = static_cast<std::int32_t>(end - begin);
    double* taps = axis.taps.data() + i * axis.tap_stride;
    double total = 0.0;
    for (std::int64_t x = 0; x < end - begin; ++x) {
      taps[x] = weight((static_cast<double>(x + begin) - center + 0.5) * inverse_scale);
      total += taps[x];
    }
    if (total == 0.0) continue;
    for (std::int64_t x = 0; x < end - begin; ++x) taps[x] /= total;
  }
  return axis;
}

Image pil_resize(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter) {
  if (image.c != 1) throw std::logic_error("pil_resize: нужен один канал");
  return resize_image(image, new_w, new_h, filter);
}

Image resize_image(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter) {
  if ((new_w == image.w && new_h == image.h) || image.data.empty()) return image;
  if (new_w <= 0 || new_h <= 0) return Image(std::max(new_h, 0), std::max(new_w, 0), image.c);
  require_room(image, new_w, new_h, filter);
  Image out = reserve_image(new_h, new_w, image.c);
  RowResizer rows(image, new_w, new_h, filter);
  const std::size_t height = static_cast<std::size_t>(new_h);
  // A band of result rows advances by about kLanes source rows.
  const std::size_t band =
      new_h == image.h
          ? vector::kLanes
          : std::clamp<std::size_t>(vector::kLanes * height / static_cast<std::size_t>(image.h), 1,
                                    kBandRows);
  for (std::size_t y = 0; y < height; y += band) {
    const std::size_t count = std::min(band, height - y);
    rows.make_rows(y, count, add_rows(out, count), out.row_samples());
  }
  return out;
}

}  // namespace morva
