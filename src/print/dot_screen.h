// The screen of a coated sheet: cells engraved in the coating roll print as rows of dots, every
// other row half a pitch aside.
#pragma once

#include "print/sheet_field.h"

namespace morva {

struct DotScreen {
  double amp = 0.0;  // density
  double pitch_mm = 0.0, row_mm = 0.0;
  double row_line = 0.0;  // the rows' own line against the dots
  double dot = 0.0;
  double jitter_mm = 0.0, jitter_sigma_mm = 0.0;  // how far the dots stray, and over what length
  double mod = 0.0, mod_sigma_mm = 0.0;           // patches where they print more or less
  double grain = 0.0, grain_mm = 0.0;
  double d_gain = 0.0;
  DensityRange d_range;
};

// `texture.dot_screen` of `film`; nothing without the block. `strength` scales the amplitude.
DotScreen dot_screen(const Json& film, double strength);

// Density in place, one channel or three. Draws from `rng`: how the dots stray, where they print
// more or less, and their grain.
void add_dot_screen(Image& density, const PulledSheet& sheet, const DotScreen& screen, Rng& rng);

}  // namespace morva
