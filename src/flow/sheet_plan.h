// The size of a print and of the finished sheet: the same decisions as the render's, on numbers
// alone.
#pragma once

#include "flow/film_frame.h"
#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

// Sets `print_cm` and `print_px_um`, the size of the print and of its pixels.
void update_print_scale(Json& opts, const Json& paper, const FilmFrame& frame);

// The border as a fraction of the print's long side, `print_long`; the option is one of the
// picture's, which is `pic_long` pixels on the print. A plate has none.
double border_of_print(const Json& paper, const Json& opts, double pic_long, int print_long);

struct SheetPlan {
  FilmFrame frame;
  PixelSize sheet;  // the print with all that surrounds it: what a render returns
};

// `film` as stored, `paper` as load_positive gives it, merged options. The picture keeps its raster
// from the film to the print: a print run returns it at its own size. Throws what a render would
// throw for a crop, a frame, a card, a border, a mat or a table.
SheetPlan plan_sheet(const Json& film, const Json& paper, Json opts, PixelSize source);

}  // namespace morva
