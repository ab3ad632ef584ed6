#include "repro/run_raster.h"

#include <algorithm>
#include <utility>

#include "repro/vector/doubling_loops.h"

namespace morva {

namespace {

std::size_t size(int n) {
  return static_cast<std::size_t>(n);
}

const double* taps_of(const ResizeCoefficients& axis, std::size_t output) {
  return axis.taps.data() + output * axis.tap_stride;
}

void weigh_pixel(const float* row, std::size_t channels, const ResizeCoefficients& axis,
                 std::size_t output, float* out) {
  const float* from = row + size(axis.first[output]) * channels;
  for (std::size_t k = 0; k < channels; ++k) {
    double sum = 0.0;
    for (std::size_t t = 0; t < size(axis.count[output]); ++t)
      sum += taps_of(axis, output)[t] * static_cast<double>(from[t * channels + k]);
    out[output * channels + k] = static_cast<float>(sum);
  }
}

}  // namespace

EnlargedPicture::EnlargedPicture(const Image& picture, const RasterScale& scale)
    : picture_(picture),
      over_(scale.over),
      up_h_(enlarged_side(picture.h, scale.up)),
      up_w_(enlarged_side(picture.w, scale.up)),
      h_(enlarged_side(up_h_, over_)),
      w_(enlarged_side(up_w_, over_)),
      wide_(size(w_) * size(picture.c)) {
  sample_count(h_, w_, picture.c);
  if (up_h_ != picture.h || up_w_ != picture.w)
    up_rows_.emplace(picture, up_w_, up_h_, kResizeBicubic);
  if (over_ == 1) return;
  across_ = resize_coefficients(up_w_, w_, kResizeBicubic);
  down_ = resize_coefficients(up_h_, h_, kResizeBicubic);
}

const float* EnlargedPicture::rows(int y, int count) {
  if (over_ == 1) return up_rows(y, count);
  const std::size_t last = size(y + count - 1), samples = size(w_) * size(picture_.c);
  widen_rows(down_.first[size(y)], down_.first[last] + down_.count[last]);
  made_.resize(std::max(made_.size(), size(count) * samples));
  for (std::size_t i = size(y); i <= last; ++i)
    vector::doubling_loops().weigh_rows(wide_.row(size(down_.first[i] - wide_first_)), samples,
                                        taps_of(down_, i), size(down_.count[i]), samples,
                                        made_.data() + (i - size(y)) * samples);
  return made_.data();
}

const float* EnlargedPicture::up_rows(int y, int count) {
  if (!up_rows_) return picture_.data.data() + size(y) * picture_.row_samples();
  const std::size_t samples = size(up_w_) * size(picture_.c);
  up_made_.resize(std::max(up_made_.size(), size(count) * samples));
  up_rows_->make_rows(size(y), size(count), up_made_.data(), samples);
  return up_made_.data();
}

// Moves the window of widened rows on to begin .. end - 1.
void EnlargedPicture::widen_rows(int begin, int end) {
  const int present = wide_first_ + static_cast<int>(wide_.rows());
  const bool goes_on = wide_first_ <= begin && begin <= present;
  wide_.drop(goes_on ? size(begin - wide_first_) : wide_.rows());
  wide_first_ = begin;
  const int from = goes_on ? present : begin;
  if (from >= end) return;
  const float* row = up_rows(from, end - from);
  float* out = wide_.add(size(end - from));
  for (int y = from; y < end; ++y, row += size(up_w_) * size(picture_.c)) {
    widen_row(row, out);
    out += size(w_) * size(picture_.c);
  }
}

// Twice the width. The taps of a pixel's two halves are the same for all but the two pixels at
// either end.
void EnlargedPicture::widen_row(const float* row, float* out) const {
  constexpr std::size_t end_pixels = 2;
  const std::size_t w = size(up_w_), channels = size(picture_.c);
  const std::size_t ends = std::min(end_pixels, w);
  for (std::size_t i = 0; i < 2 * ends; ++i) {
    weigh_pixel(row, channels, across_, i, out);
    weigh_pixel(row, channels, across_, 2 * w - 1 - i, out);
  }
  if (w <= 2 * end_pixels) return;
  vector::DoublingTaps taps;
  std::copy_n(taps_of(across_, 2 * end_pixels), vector::kDoublingTaps, taps.before);
  std::copy_n(taps_of(across_, 2 * end_pixels + 1), vector::kDoublingTaps, taps.behind);
  vector::doubling_loops().double_pixels(row + end_pixels * channels, w - 2 * end_pixels, channels,
                                         taps, out + 2 * end_pixels * channels);
}

ReducedSheet::ReducedSheet(int h, int w, const RasterScale& scale)
    : over_(scale.over),
      up_h_(enlarged_side(h, scale.up)),
      up_w_(enlarged_side(w, scale.up)),
      sheet_(h, w, 3),
      window_(sheet_.row_samples()) {
  if (up_w_ != w) across_ = resize_coefficients(up_w_, w, kResizeBox);
  if (up_h_ != h) down_ = resize_coefficients(up_h_, h, kResizeBox);
}

void ReducedSheet::add(const float* rgb, int rows) {
  if (over_ > 1) rgb = halved(rgb, rows);
  rows /= over_;
  if (up_h_ != sheet_.h) {
    reduce_width(rgb, rows, window_.add(size(rows)));
    reduce_height();
    return;
  }
  reduce_width(rgb, rows, sheet_.data.data() + size(next_) * sheet_.row_samples());
  next_ += rows;
}

// The box of 2 x 2 pixels, along the rows first. The sum of two samples and its half are as exact
// in single precision as when they are summed in double and rounded.
const float* ReducedSheet::halved(const float* rgb, int rows) {
  const std::size_t w = size(up_w_), samples = 6 * w;
  halved_.resize(std::max(halved_.size(), size(rows / 2) * 3 * w));
  float* out = halved_.data();
  for (int y = 0; y < rows; y += 2, rgb += 2 * samples) {
    const float *upper = rgb, *lower = rgb + samples;
    for (std::size_t x = 0; x < w; ++x, upper += 6, lower += 6)
      for (std::size_t k = 0; k < 3; ++k)
        *out++ = ((upper[k] + upper[k + 3]) * 0.5f + (lower[k] + lower[k + 3]) * 0.5f) * 0.5f;
  }
  return halved_.data();
}

void ReducedSheet::reduce_width(const float* rgb, int rows, float* out) const {
  const std::size_t from = 3 * size(up_w_), to = sheet_.row_samples();
  if (up_w_ == sheet_.w) {
    std::copy_n(rgb, size(rows) * to, out);
    return;
  }
  for (int y = 0; y < rows; ++y, rgb += from, out += to)
    for (std::size_t x = 0; x < size(sheet_.w); ++x) weigh_pixel(rgb, 3, across_, x, out);
}

// Each row of the sheet is made when the last that it reads has come.
void ReducedSheet::reduce_height() {
  const std::size_t samples = sheet_.row_samples();
  const int end = first_ + static_cast<int>(window_.rows());
  sum_.resize(samples);
  for (; next_ < sheet_.h; ++next_) {
    const std::size_t i = size(next_);
    if (down_.first[i] + down_.count[i] > end) break;
    std::fill(sum_.begin(), sum_.end(), 0.0);
    for (int t = 0; t < down_.count[i]; ++t) {
      const double tap = taps_of(down_, i)[t];
      const float* row = window_.row(size(down_.first[i] + t - first_));
      for (std::size_t x = 0; x < samples; ++x) sum_[x] += tap * static_cast<double>(row[x]);
    }
    float* to = sheet_.data.data() + i * samples;
    for (std::size_t x = 0; x < samples; ++x) to[x] = static_cast<float>(sum_[x]);
  }
  const int keep_from = next_ < sheet_.h ? std::min(end, down_.first[size(next_)]) : end;
  window_.drop(size(keep_from - first_));
  first_ = keep_from;
}

}  // namespace morva
