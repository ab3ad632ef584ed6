// The texture that an instant picture owes to its making: reagent spread unevenly by two rollers
// over a few tenths of a second, and the surface it is looked at through. All of it is density.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// What a picture of a given raster gets; densities and pixels. An amplitude of 0 leaves its layer
// out.
struct InstantTexture {
  double mottle = 0.0;
  double mottle_sigma_px = 0.0;
  double fine = 0.0;
  double streaks = 0.0;
  double streaks_sigma_px = 0.0;
  double silk = 0.0;
  double silk_period_px = 0.0;
  double silk_lattice = 0.0;  // regular weave against the irregular one
};

inline constexpr double kWeakestTexture = 0.0001;  // that shows

// `film` is the record after development; `strength` scales every layer, and below the weakest
// there is none. `h`, `w`: the picture, pixels.
InstantTexture instant_texture(const Json& film, double strength, int h, int w);

// Density in and out, one channel or three. Draws from `rng`, the film stream's: mottle, fine,
// streaks, silk, each only where it has an amplitude.
Image add_instant_texture(Image density, const InstantTexture& texture, Rng& rng);

}  // namespace morva
