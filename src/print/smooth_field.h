// Smooth random fields of a print made by hand: white noise that is spread over a length, or over
// one length along the rows and another across them.
#pragma once

#include "image/image.h"
#include "image/random.h"

namespace morva {

// White noise of w x h samples under a Gaussian of `sigma_x` of them along the rows and `sigma_y`
// across, mirrored at the ends. A sigma beyond twice the side is taken as that.
Image spread_noise(Rng& rng, int w, int h, double sigma_x, double sigma_y);

// Such a field of unit deviation on a raster of w x h pixels. A wide one is made on a coarser
// raster, which follows from the sizes alone, and takes as many normals as that has samples. Its
// mean is what the noise gives: near zero where the picture holds many sigmas.
Image stroke_field(Rng& rng, int w, int h, double sigma_x, double sigma_y);

// The same without a direction.
Image smooth_field(Rng& rng, int w, int h, double sigma);

// In place. A field without any deviation becomes nothing.
void scale_to_unit_deviation(Image& field);

// In place.
void take_off_mean(Image& field);

}  // namespace morva
