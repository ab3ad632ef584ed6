// Separation: the plates of a four-ink print that shows a given colour.
#pragma once

#include <cstddef>

#include "repro/dot_gain.h"
#include "repro/inks.h"

namespace morva {

struct SeparationPlan {
  InkSet inks;
  double gcr = 0.0;  // share of the grey of three inks that black takes over
  double tac = 0.0;  // most ink on the sheet, 1 a solid; 0: no limit
  DotGain gain;
  int iterations = 4;  // of Gauss and Seidel on the print model
};

// Plate values 0..1 of n pixels of interleaved linear RGB, where 1 is the bare sheet: cyan,
// magenta, yellow and black. Single precision; NaN is black. Black takes over no more than its
// share of what three inks print, so a colour that is darker than these can give prints lighter
// than it is.
void separate(const float* rgb, std::size_t n, const SeparationPlan& plan,
              float* const planes[kInks]);

// The black plate alone, for a picture of one channel.
void separate_mono(const float* gray, std::size_t n, const SeparationPlan& plan, float* black);

}  // namespace morva
