// The face that stamps are set in, and text set in it. Letters come out as the coverage of their
// outlines, 0..1, for a mask.
#pragma once

#include <string>
#include <vector>

#include "image/image.h"

namespace morva {

// A line of text, its letters placed from its left end on.
struct TextLine {
  struct Letter {
    int glyph = 0;
    double x_px = 0.0;
  };
  std::vector<Letter> letters;
  double scale = 0.0;     // pixels per unit of the font
  double width_px = 0.0;  // sum of the advances, with kerning
  double cap_px = 0.0;    // height of a capital
};

// Sets UTF-8 text from left to right, `height_px` from the face's ascent to its descent. Setting
// stops once the line is longer than `longest_px`. Bytes that are no text, controls and characters
// that the face lacks or holds broken are left out. The face, the system's bold grotesque, once
// found, is read and kept for the process; while there is none throws std::runtime_error.
TextLine set_text(const std::string& text, double height_px, double longest_px);

// Draws the line into a one-channel mask; (x, baseline) in the mask's pixels is where it begins.
// What lies beyond the mask is not drawn.
void draw_text(const TextLine& line, double x, double baseline, Image& mask);

}  // namespace morva
