// The picture on the raster of a print run and back, by rows: that raster may be too large to hold.
// Enlarging is bicubic, first by `up`, then by `over`; back it goes with the box, the same two
// ways.
#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "image/image.h"
#include "image/resample.h"
#include "image/row_resizer.h"
#include "repro/raster_plan.h"
#include "repro/row_queue.h"

namespace morva {

// Rows of the picture at the size of the run. The picture must outlive it and not be empty.
class EnlargedPicture {
 public:
  EnlargedPicture(const Image& picture, const RasterScale& scale);

  int h() const { return h_; }
  int w() const { return w_; }

  // Rows y .. y + count - 1, good until the next are asked for. Rows that go down cost least.
  const float* rows(int y, int count);

 private:
  const float* up_rows(int y, int count);
  void widen_rows(int begin, int end);
  void widen_row(const float* row, float* out) const;

  const Image& picture_;
  int over_, up_h_, up_w_, h_, w_;
  std::optional<RowResizer> up_rows_;
  ResizeCoefficients across_, down_;  // from `up` to twice its size
  RowQueue wide_;                     // rows of `up` from wide_first_ on, twice as wide
  int wide_first_ = 0;
  std::vector<float> up_made_, made_;
};

// The sheet at the picture's size, from rows of the run.
class ReducedSheet {
 public:
  ReducedSheet(int h, int w, const RasterScale& scale);

  // The next rows from the top down, three channels. Their number is a multiple of `over`.
  void add(const float* rgb, int rows);

  // When all rows have been added.
  Image take() { return std::move(sheet_); }

 private:
  const float* halved(const float* rgb, int rows);
  void reduce_width(const float* rgb, int rows, float* out) const;
  void reduce_height();

  int over_, up_h_, up_w_;
  Image sheet_;
  int next_ = 0;                      // row of the sheet to be made
  ResizeCoefficients across_, down_;  // from the raster enlarged by `up`
  RowQueue window_;                   // its rows from first_ on, at the sheet's width
  int first_ = 0;
  std::vector<float> halved_;
  std::vector<double> sum_;
};

}  // namespace morva
