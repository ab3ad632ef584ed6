// The window of a mat: where its edges lie, and the shadow that they cast on the picture.
#pragma once

#include <cstdint>
#include <vector>

#include "profiles/json_access.h"

namespace morva {

// The first and last rows and columns of the picture that the mat leaves open.
struct MatWindow {
  std::int32_t top;
  std::int32_t bottom;
  std::int32_t left;
  std::int32_t right;
};

// How far the mat lies over the sheet when nothing else decides, in pixels.
std::int32_t plain_grip_px(const Json& opts, double px_per_mm);

// The window on the sheet, in the sheet's own rows and columns. It hides the sheet's border and the
// white around a rebate: from `mat_grip_mm`, `_pic_inset_px` and `_frame_white_px`, or from
// `_mat_grips_px`. The two grips of an axis meet in the middle at the most, so that something of
// the picture stays open.
MatWindow mat_window(std::int32_t sheet_h, std::int32_t sheet_w, const Json& opts,
                     double px_per_mm);

// Rows or columns from the nearer of two lines, positive outside them and 0 on either.
inline std::int32_t beyond(std::int32_t at, std::int32_t first, std::int32_t last) {
  return at - last > first - at ? at - last : first - at;
}

// The share of light that a mat's thickness leaves to the picture beneath its edges, at each depth
// in pixels from an edge, up to where it is all. Light falls from above.
struct MatShadow {
  std::vector<float> top;
  std::vector<float> bottom;
  std::vector<float> side;
};

// The picture in the window, darkened beneath the mat's edges.
class ShadedWindow {
 public:
  ShadedWindow(const MatWindow& window, double px_per_mm);
  // Row `y` of the sheet, held to 0..1. `in` and `out` point to the window's first column; three
  // channels.
  void shade_row(std::int32_t y, const float* in, float* out) const;

 private:
  MatWindow window_;
  MatShadow shadow_;
  std::vector<float> across_;  // what the left and right edges leave, for each sample of a row
};

}  // namespace morva
