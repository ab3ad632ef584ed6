// Tone mottle of a mono instant picture: patches of the image silver take on a warmer or a colder
// tone as the pack dries.
#pragma once

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// Whether the film has any to show at `strength`.
bool has_tone_mottle(const Json& film, double strength);

// `positive`: linear, three channels; `density`: what made it, one channel of the same size, on a
// curve from `dmin` to `dmax`. The film's block `tone_mottle` gives the amplitude, which `strength`
// scales. Draws from `rng`: the frame's own strength where the film's frames differ, then the
// field.
Image tone_mottle(Image positive, const Image& density, double dmin, double dmax, const Json& film,
                  double strength, Rng& rng);

}  // namespace morva
