// The opening of an instant card: its cut corners, and the line that the die pressed around it.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// What a corner of the opening loses, pixels: a slanting cut that starts `cut_px` from the corner
// on both sides, all its edges rounded.
struct WindowCorner {
  double cut_px = 0.0;
  double round_px = 0.0;
};

// From `frame.corner`: style "chamfer" (`mm`, `round_mm`) or "round" (`mm`). Never more than half
// the picture's short side.
WindowCorner window_corner(const Json& frame, double px_per_mm, int h, int w);

// Where a point lies against the opening's edge.
struct EdgeDistance {
  double px = 0.0;            // positive outside the opening
  double nx = 0.0, ny = 0.0;  // outwards, of unit length, y downwards
};

// `x`, `y` in pixels from the opening's upper left corner; `w`, `h` its size.
EdgeDistance distance_to_edge(double x, double y, int h, int w, const WindowCorner& corner);

// Share of a pixel inside the edge, for an edge much longer than the pixel.
float share_inside(double distance_px);

// The line around the opening, lit from three sides.
struct WindowLine {
  double gain = 0.0;       // change of light on its steepest flank
  double groove_px = 0.0;  // from the opening's edge to the groove's bottom
  double flank_px = 0.0;   // sigma of the groove
  double shadow_px = 0.0;  // reach of the shadow that the card's thickness casts on the picture
  double cut_px = 0.0;     // half width of the card's cut edge
};

// From `frame.window_line`; no gain without one.
WindowLine window_line(const Json& frame, double px_per_mm);

// Factor of the light at a point: the card's cut, the groove's relief outside it, the card's shadow
// inside.
double light_at_edge(const EdgeDistance& edge, const WindowLine& line);

// How far from the edge the line changes anything, pixels.
int window_line_reach(const WindowLine& line);

}  // namespace morva
