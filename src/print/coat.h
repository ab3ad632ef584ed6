// The patch of sensitiser that a hand brushed on to the sheet: ragged where the brush was lifted,
// thin where it ran dry, and streaked by its bristles. Outside it there is no image.
#pragma once

#include <vector>

#include "image/image.h"
#include "image/random.h"
#include "print/process_block.h"
#include "print/smooth_field.h"

namespace morva {

// The coat in pixels of this sheet.
struct CoatShape {
  double margin_px = 0.0;   // bare paper, mean
  double wander_px = 0.0;   // of the edge as the hand guides the brush
  double finger_px = 0.0;   // reach of tufts of bristles beyond it
  double band_px = 0.0;     // over which the coat thins out
  double edge_px = 0.0;     // unit of the edge's lines
  double stroke_px = 0.0;   // over which a bristle's track keeps its strength
  double tuft_px = 0.0;     // width of a tuft's track
  double bristle_px = 0.0;  // and of a bristle's
  float streaks = 0.0f;     // change of the coat's thickness by the tracks
  float dryness = 0.0f;     // how far tracks run dry towards the edge
};

// A coat as it was brushed on to a sheet of some size.
struct DrawnCoat {
  CoatShape shape;
  std::vector<float> top, bottom, left, right;  // where it ends, pixels from that edge of the sheet
  DrawnField along, across;                     // tracks along the rows and along the columns
};

// Draws the edge lines of the four sides (top, bottom, left, right; two lines each), then the
// strokes along the rows and along the columns. All of its lengths are fractions of the long side.
DrawnCoat draw_coat(Rng& rng, const CoatBlock& coat, int w, int h);

// Multiplies the ink plane by how much of the sheet is coated. Without a coat it leaves it
// and draws nothing.
void brush_coat(Image& ink, const CoatBlock& coat, Rng& rng);

}  // namespace morva
