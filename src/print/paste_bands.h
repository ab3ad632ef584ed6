// Bands of paste on peel-apart film: negative and sheet are pulled through the rollers by hand, by
// fits and starts, and where the pull halts the paste lies thicker in a line across it. Along the
// long edges, where it is squeezed outwards, it lies thickest.
#pragma once

#include <array>

#include "print/sheet_field.h"

namespace morva {

struct PasteBands {
  double amp = 0.0;        // density of the bands
  double paste_amp = 0.0;  // and of the paste along the long edges
  double card_var = 0.0;   // spread of both from one card to the next
  double end_gain = 0.0;   // how much stronger the bands are where the pull starts and stops
  double end_mm = 0.0;
  double along_mm = 0.0, across_mm = 0.0;  // a band: short along the pull, wide across it
  double iso_share = 0.0, iso_mm = 0.0;    // round clouds among the bands
  double coarse_share = 0.0, coarse_along_mm = 0.0, coarse_across_mm = 0.0;
  double coarse_floor = 0.0;                   // of the coarse bands in the thinnest parts
  double cluster_mod = 0.0, cluster_mm = 0.0;  // bands come in groups
  double paste_mm = 0.0;                       // width of the paste's edge
  double d_gain = 0.0;                         // growth of the bands with density
  DensityRange d_range;
  // Colour of the bands where the paste lies thick and where thin, and of the paste's edge.
  std::array<float, 3> thick = {1.0f, 1.0f, 1.0f}, thin = thick, edge = thick;
};

// `texture.chatter` of `film`, the record with the flow's own keys; nothing without the block. A
// cold pack (`_temp_rough`), an uneven one (`_dev_mottle`) and `strength` scale the amplitudes.
PasteBands paste_bands(const Json& film, double strength);

// Density in place, one channel or three. Draws from `rng`: the card's own strength, then the
// fields that have a share.
void add_paste_bands(Image& density, const PulledSheet& sheet, const PasteBands& bands, Rng& rng);

}  // namespace morva
