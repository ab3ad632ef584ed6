#include "finish/holder_edge.h"

#include <algorithm>
#include <cmath>

namespace morva {

namespace {

constexpr double kSlope = 0.6;  // of the slanting cut

double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}

double length(double a, double b) {
  return std::sqrt(a * a + b * b);
}

bool is_in_half_shadow(GateSide side) {
  return side == GateSide::soft || side == GateSide::lip;
}

// Light inside the gate with its round corners, `in_y` and `in_x` pixels from the nearer sides. The
// half shadow runs round a corner with its arc, so that it meets both sides without a seam.
double gate_light(const PictureWindow& window, double in_y, double in_x) {
  const bool soft_y = is_in_half_shadow(window.top_bottom);
  const bool soft_x = is_in_half_shadow(window.left_right);
  const double dy = window.corner_px - in_y;
  const double dx = window.corner_px - in_x;
  if (dy > 0.0 && dx > 0.0) {
    const double inside = (window.corner_px - length(dy, dx)) / window.ramp_px;
    return clamp01(soft_y || soft_x ? inside : inside + 0.5);
  }
  const double light_y = soft_y ? clamp01(in_y / window.ramp_px) : 1.0;
  const double light_x = soft_x ? clamp01(in_x / window.ramp_px) : 1.0;
  return std::min(light_y, light_x);
}

// Light beside the slanting cut: `in` pixels from the side, `along` from its nearer corner.
double slant_light(const PictureWindow& window, double in, double along) {
  const double beyond =
      (in - (window.slant_px - kSlope * along)) / std::sqrt(1.0 + kSlope * kSlope);
  return clamp01(beyond / window.ramp_px + 0.5);
}

// Light beside the holder's ear, `in` pixels from the side and `along` from where the film goes in.
double lip_light(const PictureWindow& window, double in, double along) {
  const double round = std::min({window.ramp_px, window.lip_px, window.lip_length_px});
  const double q_in = in - (window.lip_px - round);
  const double q_along = along - (window.lip_length_px - round);
  const double outside = length(std::max(q_in, 0.0), std::max(q_along, 0.0)) +
                         std::min(std::max(q_in, q_along), 0.0) - round;
  return clamp01(outside / window.ramp_px + 0.5);
}

// What a side's own shape leaves of the light.
double shape_light(const PictureWindow& window, GateSide side, double in, double near_corner,
                   double from_loading) {
  if (side == GateSide::slanting) return slant_light(window, in, near_corner);
  if (side == GateSide::lip) return lip_light(window, in, from_loading);
  return 1.0;
}

// From a side inwards, no pixel further in is darkened by it.
int reach_px(const PictureWindow& window, GateSide side) {
  double reach = window.corner_px + window.ramp_px;
  if (side == GateSide::slanting) reach = std::max(reach, window.slant_px + 2.0 * window.ramp_px);
  if (side == GateSide::lip) reach = std::max(reach, window.lip_px + window.ramp_px);
  return static_cast<int>(std::min(reach, 1e9)) + 1;
}

}  // namespace

double window_light(const PictureWindow& window, int h, int w, int y, int x) {
  const double in[4] = {y + 0.5, h - (y + 0.5), x + 0.5, w - (x + 0.5)};
  const double in_y = std::min(in[kTopSide], in[kBottomSide]);
  const double in_x = std::min(in[kLeftSide], in[kRightSide]);
  const double from_loading = in[window.loading_side];
  return gate_light(window, in_y, in_x) *
         shape_light(window, window.top_bottom, in_y, in_x, from_loading) *
         shape_light(window, window.left_right, in_x, in_y, from_loading);
}

bool darkens_edges(const PictureWindow& window) {
  return window.corner_px > 0.0 || window.top_bottom != GateSide::sharp ||
         window.left_right != GateSide::sharp;
}

void darken_outside_window(Image& picture, const PictureWindow& window) {
  const int reach_y = reach_px(window, window.top_bottom);
  const int reach_x = reach_px(window, window.left_right);
  const int top = std::min(reach_y, picture.h);
  const int bottom = std::max(picture.h - reach_y, top);
  const int left = std::min(reach_x, picture.w);
  const int right = std::max(picture.w - reach_x, left);
  const auto darken = [&](int y, int x0, int x1) {
    for (int x = x0; x < x1; ++x) {
      const float light = static_cast<float>(window_light(window, picture.h, picture.w, y, x));
      for (int k = 0; k < picture.c; ++k) picture.at(y, x, k) *= light;
    }
  };
  for (int y = 0; y < picture.h; ++y) {
    if (y < top || y >= bottom) {
      darken(y, 0, picture.w);
      continue;
    }
    darken(y, 0, left);
    darken(y, right, picture.w);
  }
}

}  // namespace morva
