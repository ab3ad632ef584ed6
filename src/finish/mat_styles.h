// The boards of a mat as they lie around its window. Every mat is the same along its four sides and
// mitred at the corners, so that its colour follows from the distance to the window alone.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "profiles/json_access.h"

namespace morva {

using BoardColour = std::array<float, 3>;  // linear light

enum WindowSide : int { kWindowTop, kWindowBottom, kWindowLeft, kWindowRight };

// The colour at each distance from the window, in pixels, by the side that is nearest.
using BoardProfile = std::array<std::vector<BoardColour>, 4>;

struct MatFace {
  BoardProfile sides;
  // Squares on the corners: where the distances along rows and columns both lie within these.
  std::int32_t corner_first = 0;
  std::int32_t corner_last = -1;
  BoardProfile corners;
};

struct MatBoards {
  std::string style;  // classic, double, emboss, french
  BoardColour board;
  BoardColour core;    // what the bevel's cut lays bare
  BoardColour reveal;  // the inner board of a double mat
  double px_per_mm;
  double bevel_px;
  double reveal_px;
  double grip_px;
};

// From `mat_color`, `mat_core`, `mat_reveal_color`, `mat_bevel_mm` and `mat_reveal_mm`. A colour
// that no board has counts as white.
MatBoards mat_boards(const Json& opts, const std::string& style, double px_per_mm);

// Colours for distances 0 .. `farthest`, each within 0..1. The first is not the mat's.
MatFace mat_face(const MatBoards& boards, std::int32_t farthest);

}  // namespace morva
