// The sheet's surface: the grain of a matte, pearl or canvas paper under light from one side.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// The relief of a paper, one channel of unit deviation: white noise between two Gaussians of
// sigma_fine and sigma_wide pixels, a wide one drawn on a coarser raster that follows from the
// sizes alone. A raster of one sample is flat. Draws as many normals from `rng` as that raster has
// samples.
Image band_field(int h, int w, double sigma_fine, double sigma_wide, Rng& rng);

// `print` is linear reflectance, in place of which it comes back with its relief, 0..1. From the
// paper's block `surface` and the option `print_texture`. Draws the relief from `rng`; without one
// it draws nothing and the print passes as it is.
Image repro_surface(Image print, const Json& paper, const Json& options, double print_px_um,
                    Rng& rng);

}  // namespace morva
