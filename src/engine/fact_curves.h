// Characteristic curves for drawing: densities at 65 even steps of exposure, from -3 to 3 in log10
// relative to a mid grey's, taken from the curves that render.
#pragma once

#include "profiles/json_access.h"

namespace morva {

// The stock's densities, base and fog included, by what its type calls for: one layer as an array,
// three as an array of three. `stock` is the developed film.
Json film_curves(const Json& stock, const Json& opts);

// The densities of a paper by its own exposure, and under that film's exposure, whose mid grey
// prints as a mid grey but for `print_ev`. Only where the print takes its tones from the paper's
// curve. The sheet is taken without flare, which depends on the picture.
Json paper_densities(const Json& stock, const Json& paper, const Json& opts);
Json densities_through_film(const Json& stock, const Json& paper, const Json& opts);

}  // namespace morva
