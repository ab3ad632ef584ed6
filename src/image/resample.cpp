#include "image/resample.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>
#include <stdexcept>

#include "image/elementary.h"
#include "image/growing_image.h"
#include "image/vector/filter_loops.h"

namespace morva {

namespace {

using vector::AxisTaps;
using vector::kLanes;
using vector::kResampleTile;
using vector::Lanes;

constexpr std::size_t kMaxBandRows = 64;    // output rows made from one window of source rows
constexpr std::size_t kStripSamples = 512;  // a window this wide stays in the second-level cache

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

AxisTaps slice(const ResizeCoefficients& axis, std::size_t begin, std::size_t outputs) {
  return {axis.first.data() + begin, axis.count.data() + begin,
          axis.taps.data() + begin * axis.tap_stride, axis.tap_stride, outputs};
}

// One past the last input that output i reads.
std::int32_t reach(const ResizeCoefficients& axis, std::size_t i) {
  return axis.first[i] + axis.count[i];
}

// The longest stretch of inputs behind kResampleTile consecutive outputs.
std::size_t longest_tile(const ResizeCoefficients& axis) {
  std::int32_t longest = 0;
  for (std::size_t i = 0; i < axis.first.size(); i += kResampleTile) {
    const std::size_t last = std::min(i + kResampleTile, axis.first.size()) - 1;
    longest = std::max(longest, reach(axis, last) - axis.first[i]);
  }
  return static_cast<std::size_t>(longest);
}

// Columns first .. first + count - 1 of the result.
struct Strip {
  std::size_t first;
  std::size_t count;
};

// Whole cache lines for a row of a strip.
std::size_t row_lanes(std::size_t samples) {
  return (samples + kLanes - 1) / kLanes;
}

// Source rows at their new width, one strip of columns at a time. They stand in double, but hold
// single-precision values.
class HorizontalPass {
 public:
  HorizontalPass(const Image& image, std::int32_t new_w, int filter)
      : image_(image), resized_(new_w != image.w) {
    if (!resized_) return;
    axis_ = resize_coefficients(image.w, new_w, filter);
    work_.resize(longest_tile(axis_));
  }

  // Rows first .. first + count - 1; count is at most kLanes.
  void make_rows(const Strip& strip, std::size_t first, std::size_t count, Lanes* out) {
    const vector::FilterLoops& loops = vector::filter_loops();
    const std::size_t samples = image_.row_samples();
    const std::size_t channels = static_cast<std::size_t>(image_.c);
    const float* src = image_.data.data() + first * samples;
    const std::size_t stride = row_lanes(strip.count * channels);
    if (resized_) {
      loops.resample_rows(src, samples, count, channels, slice(axis_, strip.first, strip.count),
                          work_.data(), out[0].at, stride * kLanes);
      return;
    }
    for (std::size_t y = 0; y < count; ++y)
      loops.widen(src + y * samples + strip.first * channels, out[y * stride].at,
                  strip.count * channels);
  }

 private:
  const Image& image_;
  bool resized_;
  ResizeCoefficients axis_;
  std::vector<Lanes> work_;
};

std::vector<Strip> strips_of(const Image& out) {
  const std::size_t width = static_cast<std::size_t>(out.w);
  // Whole tiles, so that no tile straddles two strips.
  const std::size_t widest =
      std::max(kStripSamples / static_cast<std::size_t>(out.c) / kResampleTile, std::size_t{1}) *
      kResampleTile;
  std::vector<Strip> strips;
  for (std::size_t x = 0; x < width; x += widest)
    strips.push_back({x, std::min(widest, width - x)});
  return strips;
}

void resize_width(HorizontalPass& horizontal, Image& out) {
  const std::vector<Strip> strips = strips_of(out);
  const std::size_t channels = static_cast<std::size_t>(out.c);
  const std::size_t height = static_cast<std::size_t>(out.h);
  std::vector<Lanes> rows(kLanes * row_lanes(strips[0].count * channels));
  for (std::size_t y = 0; y < height; y += kLanes) {
    const std::size_t count = std::min(kLanes, height - y);
    float* to = add_rows(out, count);
    for (const Strip& strip : strips) {
      const std::size_t samples = strip.count * channels;
      horizontal.make_rows(strip, y, count, rows.data());
      for (std::size_t j = 0; j < count; ++j)
        vector::filter_loops().narrow(rows[j * row_lanes(samples)].at,
                                      to + j * out.row_samples() + strip.first * channels, samples);
    }
  }
}

// Source rows begin .. end - 1 at their new width, a block for each strip.
struct RowWindow {
  std::vector<Strip> strips;
  std::vector<std::vector<Lanes>> blocks;
  std::size_t begin = 0;
  std::size_t end = 0;
};

// Moves the window on to rows keep_from .. need_end - 1, or a few more; no row is made twice.
void advance(RowWindow& window, std::size_t keep_from, std::size_t need_end,
             HorizontalPass& horizontal, const Image& source) {
  const std::size_t rows = static_cast<std::size_t>(source.h);
  keep_from = std::min(keep_from, window.end);
  std::size_t end = window.end;
  while (end < need_end) end += std::min(kLanes, rows - end);
  for (std::size_t i = 0; i < window.strips.size(); ++i) {
    const Strip& strip = window.strips[i];
    std::vector<Lanes>& block = window.blocks[i];
    const std::size_t stride = row_lanes(strip.count * static_cast<std::size_t>(source.c));
    const std::size_t dropped = (keep_from - window.begin) * stride;
    block.erase(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(dropped));
    block.resize((end - keep_from) * stride);
    for (std::size_t y = window.end; y < end; y += kLanes)
      horizontal.make_rows(strip, y, std::min(kLanes, end - y),
                           block.data() + (y - keep_from) * stride);
  }
  window.begin = keep_from;
  window.end = end;
}

void resize_both(HorizontalPass& horizontal, const ResizeCoefficients& axis, const Image& source,
                 Image& out) {
  const std::size_t channels = static_cast<std::size_t>(out.c);
  const std::size_t height = axis.first.size();
  // A band of output rows advances by about kLanes source rows.
  const std::size_t band_rows = std::clamp<std::size_t>(
      kLanes * height / static_cast<std::size_t>(source.h), 1, kMaxBandRows);
  RowWindow window;
  window.strips = strips_of(out);
  window.blocks.resize(window.strips.size());
  for (std::size_t y = 0; y < height; y += band_rows) {
    const std::size_t count = std::min(band_rows, height - y);
    advance(window, static_cast<std::size_t>(axis.first[y]),
            static_cast<std::size_t>(reach(axis, y + count - 1)), horizontal, source);
    float* to = add_rows(out, count);
    for (std::size_t i = 0; i < window.strips.size(); ++i) {
      const std::size_t samples = window.strips[i].count * channels;
      vector::filter_loops().resample_columns(
          window.blocks[i][0].at, row_lanes(samples) * kLanes,
          static_cast<std::int32_t>(window.begin), slice(axis, y, count), samples,
          to + window.strips[i].first * channels, out.row_samples());
    }
  }
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
  HorizontalPass horizontal(image, new_w, filter);
  if (new_h == image.h)
    resize_width(horizontal, out);
  else
    resize_both(horizontal, resize_coefficients(image.h, new_h, filter), image, out);
  return out;
}

}  // namespace morva
