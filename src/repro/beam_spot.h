// The picture as the beam draws it: line by line, each line a stroke whose light falls off as a
// Gaussian to either side.
#pragma once

#include "image/image.h"

namespace morva {

// The lines that fill a picture `height_px` high.
struct ScanRaster {
  double lines = 1.0;
  int height_px = 0;

  double line_px() const { return height_px / lines; }
  bool resolved() const;  // the pixels tell one line from the next
};

// The light that each line carries: a row for each, the mean over the line's height. Where lines
// are not resolved each row of pixels stands for one.
Image scan_lines(Image picture, const ScanRaster& raster);

// The screen under the lines of `signal`. The spot's sigma is a share of a line, 4 lines at most,
// and at least 0.3 pixels. Lines that are not resolved are spread down the picture. Pixels gather
// the light that falls on them, so that an even field keeps its level; the first and the last line
// repeat beyond the screen.
Image draw_lines(Image signal, const ScanRaster& raster, double spot);

// In place: the beams of red and blue drawn larger and smaller about the centre than green, so that
// at a corner each lands `miss_px` from it, at least 0.25 pixels where it is above 0.
void misconverge(Image& picture, double miss_px);

}  // namespace morva
