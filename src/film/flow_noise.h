// Noise that a liquid leaves on a plate: streaks where it ran, and the fine unevenness of what
// settled out of it. Both are fixed to the plate in millimetres, so a finer raster shows the same
// streaks, and both take exactly one draw of `rng`, whatever the raster.
#pragma once

#include "film/plate_corner.h"
#include "image/image.h"
#include "image/random.h"

namespace morva {

struct PlateFlow {
  PlateCorner corner;       // the liquid runs from here to the corner across
  double scale_mm = 6.0;    // across the streaks; over it correlation falls to a tenth
  double anisotropy = 1.0;  // length of a streak against its width
};

// One channel, zero mean and unit variance over many plates. `px_um`: a pixel's size on the plate,
// micrometres.
Image flow_noise(int h, int w, double px_um, const PlateFlow& flow, Rng& rng);

// White noise under a Gaussian of `scale_um`: unit variance, less where the pixel is too large to
// resolve it.
Image fine_noise(int h, int w, double px_um, double scale_um, Rng& rng);

// The share of a fine field's deviation that a pixel shows, 1 where it resolves the field.
double fine_noise_deviation(double px_um, double scale_um);

}  // namespace morva
