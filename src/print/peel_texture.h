// The marks of peel-apart film in density: bands across the pull, where the sandwich of negative
// and sheet went through the rollers by fits and starts, and the faint screen of the roll that
// coated the sheet.
#pragma once

#include <cstdint>

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// `texture.chatter` and `texture.dot_screen` of `film`, the record with the flow's own keys; each
// only where it has an amplitude. `px_um`: a pixel's size on the sheet, micrometres. The film is
// pulled along the picture's long side. Fields are drawn in millimetres, so that they lie on the
// sheet alike at every raster.
Image add_peel_texture(Image density, const Json& film, const Json& options, double px_um,
                       double strength);

// The fields of a sheet, each with a word of its own after the sheet's key, so that none moves
// when another is drawn or not.
enum class PeelField : std::int64_t { bands = 1, screen = 2, edge = 3, chips = 4, yellow = 5 };

// The generator of one of them: [seed, stream, variant, 29, field], from the sheet's own seed
// (`_peel_seed`, tag 29 of the film stream).
Rng peel_rng(const Json& film, const Json& options, PeelField field);

}  // namespace morva
