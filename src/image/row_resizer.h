// Rows of a resized picture, made as they are asked for: pil_resize for a result that is too large
// to hold.
#pragma once

#include <cstddef>
#include <vector>

#include "image/image.h"
#include "image/resample.h"
#include "image/vector/filter_loops.h"

namespace morva {

// A run of columns of the result.
struct ColumnStrip {
  std::size_t first;
  std::size_t count;
};

// Source rows at their new width, one strip of columns at a time. They stand in double, but hold
// single-precision values.
class HorizontalPass {
 public:
  HorizontalPass(const Image& image, std::int32_t new_w, int filter);

  // Rows first .. first + count - 1; count is at most vector::kLanes.
  void make_rows(const ColumnStrip& strip, std::size_t first, std::size_t count,
                 vector::Lanes* out);

 private:
  const Image& image_;
  bool resized_;
  ResizeCoefficients axis_;
  std::vector<vector::Lanes> work_;
};

class RowResizer {
 public:
  // The picture must outlive the resizer and not be empty; new sizes are at least 1.
  RowResizer(const Image& image, std::int32_t new_w, std::int32_t new_h, int filter);

  // Rows y .. y + count - 1 of the result, `stride` apart. No work is done twice where each call
  // begins at or below the row where the last one began.
  void make_rows(std::size_t y, std::size_t count, float* out, std::size_t stride);

 private:
  void advance(std::size_t keep_from, std::size_t need_end);

  const Image& source_;
  bool same_height_;
  HorizontalPass horizontal_;
  ResizeCoefficients axis_;
  // Source rows begin_ .. end_ - 1 at their new width, a block for each strip.
  std::vector<ColumnStrip> strips_;
  std::vector<std::vector<vector::Lanes>> blocks_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace morva
