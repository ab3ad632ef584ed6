// Where the picture lies on its piece of film: the size of the canvas, the margins of unexposed
// film, the outline of the camera's gate or sheet holder, and what the film itself has cut into its
// edge. Nothing here is random and nothing touches a pixel, so that a sheet can be measured before
// it is made.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "finish/rebate_style.h"

namespace morva {

// Where a filed edge lies by nature, as a part of its margin.
inline constexpr double kCarrierEdgePlace = 0.55;

enum RebateSide : int { kTopSide, kBottomSide, kLeftSide, kRightSide };

// How the picture ends at a side of the camera's gate.
enum class GateSide {
  sharp,     // at the gate, cut off
  soft,      // in the gate's half shadow
  slanting,  // sharp, and cut off aslant before both corners
  lip,       // soft, and near the loading end under the ear of a sheet holder
};

// The gate or holder as the film saw it, in pixels of the picture.
struct PictureWindow {
  double corner_px = 0.0;  // radius; 0 for square corners
  double ramp_px = 1.0;    // from dark to full light
  GateSide top_bottom = GateSide::sharp;
  GateSide left_right = GateSide::sharp;
  double slant_px = 0.0;          // how deep the slant is at the corner
  double lip_px = 0.0;            // how far the holder's ear reaches over the film
  double lip_length_px = 0.0;     // along its side, from where the film goes in
  int loading_side = kRightSide;  // there
};

struct RebatePlan {
  int h = 0;  // of the canvas
  int w = 0;
  std::array<int, 4> margins = {0, 0, 0, 0};  // top, bottom, left, right, pixels; all 0: no canvas
  PictureWindow window;
  // The film's own cut edges, pixels outwards from the picture. Without them the edge is that of
  // the enlarger's carrier.
  std::optional<std::array<double, 4>> film_edge_px;
  double notch_px_per_mm = 0.0;  // scale of the notch code on the loading side; 0 for none

  bool has_canvas() const { return margins != std::array<int, 4>{0, 0, 0, 0}; }
};

// Whether the rebate follows the film's format: roll film, sheet or plate, in a style with a
// preset. A wide one does so only when the picture is the whole gate.
bool rebate_follows_format(const RebateStyle& style, const std::string& family, bool full_gate);

// The same margin all round, a fraction of the long side. A width that makes less than one pixel
// gives no canvas.
RebatePlan plan_rebate_by_fraction(int h, int w, const RebateStyle& style);

// Margins in millimetres of film. `format_cm` is the long side by which a frame of 120 film is
// called; `width_ratio` widens the margins. Throws std::invalid_argument for a style that no format
// knows.
//
// Both throw std::bad_alloc for margins that make the canvas larger than any sheet. A picture that
// is as large by itself keeps its margins, up to as much area again.
RebatePlan plan_rebate_by_format(int h, int w, const std::string& family, const RebateStyle& style,
                                 double px_per_mm, double format_cm, double width_ratio);

}  // namespace morva
