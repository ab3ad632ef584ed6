// The ring of light around a highlight on a glass plate: light that leaves the emulsion into the
// glass, is reflected at the far face and returns at a distance. Beyond the critical angle all of
// it comes back, which draws the ring.
#pragma once

#include "image/image.h"

namespace morva {

// Share of unpolarised light that a glass-air face of index `n` reflects at the angle `theta`
// (radians) inside the glass: Fresnel, with total reflection beyond the critical angle.
double glass_reflectance(double theta, double n);

// The light that returns to the emulsion from `mask` (one channel, light above the halation
// threshold), for a plate `glass_mm` thick of index `n`. `px_um`: a pixel's size on the plate,
// micrometres.
Image glass_ring(const Image& mask, double px_um, double glass_mm, double n);

}  // namespace morva
