#include "image/row_resizer.h"

#include <algorithm>

namespace morva {

namespace {

using vector::AxisTaps;
using vector::kLanes;
using vector::kResampleTile;
using vector::Lanes;

constexpr std::size_t kStripSamples = 512;  // a window this wide stays in the second-level cache

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

// Whole cache lines for a row of a strip.
std::size_t row_lanes(std::size_t samples) {
  return (samples + kLanes - 1) / kLanes;
}

std::vector<ColumnStrip> strips_of(std::size_t width, std::size_t channels) {
  // Whole tiles, so that no tile straddles two strips.
  const std::size_t widest =
      std::max(kStripSamples / channels / kResampleTile, std::size_t{1}) * kResampleTile;
  std::vector<ColumnStrip> strips;
  for (std::size_t x = 0; x < width; x += widest)
    strips.push_back({x, std::min(widest, width - x)});
  return strips;
}

}  // namespace

HorizontalPass::HorizontalPass(const Image& image, std::int32_t new_w, int filter)
    : image_(image), resized_(new_w != image.w) {
  if (!resized_) return;
  axis_ = resize_coefficients(image.w, new_w, filter);
  work_.resize(longest_tile(axis_));
}

void HorizontalPass::make_rows(const ColumnStrip& strip, std::size_t first, std::size_t count,
                               Lanes* out) {
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

RowResizer::RowResizer(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter)
    : source_(image),
      same_height_(new_h == image.h),
      horizontal_(image, new_w, filter),
      strips_(strips_of(static_cast<std::size_t>(new_w), static_cast<std::size_t>(image.c))),
      blocks_(strips_.size()) {
  if (!same_height_) axis_ = resize_coefficients(image.h, new_h, filter);
}

// Moves the window on to rows keep_from .. need_end - 1, or a few more.
void RowResizer::advance(std::size_t keep_from, std::size_t need_end) {
  if (keep_from < begin_ || keep_from > end_) {
    for (std::vector<Lanes>& block : blocks_) block.clear();
    begin_ = end_ = keep_from;
  }
  const std::size_t rows = static_cast<std::size_t>(source_.h);
  std::size_t end = end_;
  while (end < need_end) end += std::min(kLanes, rows - end);
  for (std::size_t i = 0; i < strips_.size(); ++i) {
    const ColumnStrip& strip = strips_[i];
    std::vector<Lanes>& block = blocks_[i];
    const std::size_t stride = row_lanes(strip.count * static_cast<std::size_t>(source_.c));
    const std::size_t dropped = (keep_from - begin_) * stride;
    block.erase(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(dropped));
    block.resize((end - keep_from) * stride);
    for (std::size_t y = end_; y < end; y += kLanes)
      horizontal_.make_rows(strip, y, std::min(kLanes, end - y),
                            block.data() + (y - keep_from) * stride);
  }
  begin_ = keep_from;
  end_ = end;
}

void RowResizer::make_rows(std::size_t y, std::size_t count, float* out, std::size_t stride) {
  if (count == 0) return;
  const std::size_t keep_from = same_height_ ? y : static_cast<std::size_t>(axis_.first[y]);
  const std::size_t need_end =
      same_height_ ? y + count : static_cast<std::size_t>(reach(axis_, y + count - 1));
  advance(keep_from, need_end);
  const std::size_t channels = static_cast<std::size_t>(source_.c);
  for (std::size_t i = 0; i < strips_.size(); ++i) {
    const std::size_t samples = strips_[i].count * channels;
    const std::size_t lanes = row_lanes(samples);
    float* to = out + strips_[i].first * channels;
    if (same_height_)
      for (std::size_t j = 0; j < count; ++j)
        vector::filter_loops().narrow(blocks_[i][(y + j - begin_) * lanes].at, to + j * stride,
                                      samples);
    else
      vector::filter_loops().resample_columns(blocks_[i][0].at, lanes * kLanes,
                                              static_cast<std::int32_t>(begin_),
                                              slice(axis_, y, count), samples, to, stride);
  }
}

}  // namespace morva
