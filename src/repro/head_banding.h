// Bands of an inkjet: the sheet is printed in passes of a head, none of which throws quite the
// drops of the one before, and where two passes meet they overlap a little or leave a gap.
#pragma once

#include <vector>

#include "image/random.h"

namespace morva {

// Strengths are shares of the ink, already times the strength that the print asks for.
struct HeadBanding {
  double pass_px = 2.0;         // what the head covers in a pass
  double pass_deviation = 0.0;  // of a pass from the next
  bool seams = false;           // passes meet in one; at a strength of 0 it is drawn all the same
  double seam_amp = 0.0;
  double seam_px = 0.6;  // sigma of a seam
  bool ripple = false;   // nozzles differ, likewise
  double ripple_amp = 0.0;
  double nozzle_px = 1.0;  // period of the ripple
};

// What the ink of each of n positions across the passes is multiplied by; 1 without banding. Any
// parameters serve. Draws from `rng`: a normal for each pass, a uniform for each seam, and one for
// the nozzles' phase.
std::vector<float> banding_line(int n, const HeadBanding& head, Rng& rng);

}  // namespace morva
