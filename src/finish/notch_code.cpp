#include "finish/notch_code.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace morva {

namespace {

constexpr double kFirstNotchMm = 5.0;  // from the sheet's corner
constexpr double kNotchGapMm = 1.0;
constexpr double kDeepestNotchMm = 1.6;
constexpr double kNotchReachPx = 3.0;

double length(double a, double b) {
  return std::sqrt(a * a + b * b);
}

// Notches, each across and into the sheet.
enum class NotchShape { v, u, square };

struct Notch {
  NotchShape shape;
  double width_mm;
  double depth_mm;
};

constexpr std::array<Notch, 4> kNotchCode = {
    Notch{NotchShape::v, 2.4, 1.6}, Notch{NotchShape::u, 1.8, 1.6},
    Notch{NotchShape::square, 2.0, 1.5}, Notch{NotchShape::v, 2.4, 1.6}};

// Distance outside the notch, pixels; `across` from its middle, `in` from the sheet's edge.
double notch_distance(const Notch& notch, double px_per_mm, double across, double in) {
  const double half = 0.5 * notch.width_mm * px_per_mm;
  const double depth = notch.depth_mm * px_per_mm;
  const double off = std::fabs(across);
  switch (notch.shape) {
    case NotchShape::v:
      return (in - depth * (1.0 - off / half)) / length(1.0, depth / half);
    case NotchShape::u: {
      const double to_centre = in - (depth - half);
      return to_centre > 0.0 ? length(off, to_centre) - half : off - half;
    }
    case NotchShape::square:
      return std::max(off - half, in - depth);
  }
  return in;
}

// How much of the pixel the code takes away; `along` from the sheet's corner.
double notch_cover(double px_per_mm, double along, double in) {
  double cover = 0.0;
  double start_mm = kFirstNotchMm;
  for (const Notch& notch : kNotchCode) {
    const double middle = (start_mm + 0.5 * notch.width_mm) * px_per_mm;
    const double distance = notch_distance(notch, px_per_mm, along - middle, in);
    cover = std::max(cover, std::clamp(0.5 - distance, 0.0, 1.0));
    start_mm += notch.width_mm + kNotchGapMm;
  }
  return cover;
}

double code_length_mm() {
  double length_mm = kFirstNotchMm;
  for (const Notch& notch : kNotchCode) length_mm += notch.width_mm + kNotchGapMm;
  return length_mm;
}

}  // namespace

void cut_notch_code(Image& mask, const RebatePlan& plan) {
  const double px_per_mm = plan.notch_px_per_mm;
  if (!(px_per_mm > 0.0) || !plan.film_edge_px) return;
  const auto& edge = *plan.film_edge_px;
  const bool on_right = plan.window.loading_side == kRightSide;
  // The sheet's corner on the canvas: its upper right, or its lower right.
  const double corner_y = on_right ? plan.margins[kTopSide] - edge[kTopSide]
                                   : mask.h - plan.margins[kBottomSide] - 1 + edge[kBottomSide];
  const double corner_x = mask.w - plan.margins[kRightSide] - 1 + edge[kRightSide];
  const int deep = static_cast<int>(kDeepestNotchMm * px_per_mm + kNotchReachPx);
  const int wide = static_cast<int>(code_length_mm() * px_per_mm + kNotchReachPx);
  const int tall = on_right ? wide : deep;
  const int broad = on_right ? deep : wide;
  const int at_y = static_cast<int>(corner_y);
  const int at_x = static_cast<int>(corner_x);
  const int y0 = std::max(0, on_right ? at_y : at_y - tall);
  const int y1 = std::min(mask.h, on_right ? at_y + tall : at_y + 2);
  for (int y = y0; y < y1; ++y)
    for (int x = std::max(0, at_x - broad); x < std::min(mask.w, at_x + 2); ++x) {
      const double right_in = corner_x - x;
      const double along = on_right ? y - corner_y : right_in;
      const double in = on_right ? right_in : corner_y - y;
      mask.at(y, x) *= static_cast<float>(1.0 - notch_cover(px_per_mm, along, in));
    }
}

}  // namespace morva
