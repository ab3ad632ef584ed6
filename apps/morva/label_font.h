// Letters of five dots by seven, nine with what reaches below the line, for the labels of a contact
// sheet, so that a sheet looks the same on a machine without a font.
#pragma once

#include <string>

#include "picture.h"

namespace morva::host {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 9;
inline constexpr int kGlyphAdvance = 6;

// In pixels, at `scale` pixels a dot.
int label_width(const std::string& text, int scale);

// From its top left corner, cut at the picture's edges. What is not printable ASCII comes as '?'.
void draw_label(Picture& picture, const std::string& text, int left, int top, int scale, float ink);

}  // namespace morva::host
