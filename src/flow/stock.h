// The stock of a render: the film as it is loaded into the camera and developed.
#pragma once

#include <optional>

#include "flow/film_area.h"
#include "flow/film_frame.h"
#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// The film aged and with its development folded in.
Json developed_stock(const Json& film, const Json& opts);

// `resolved`, the developed stock, with the seeds of its own that its stages rebuild their
// generators from.
Json seeded_stock(const Json& resolved, const Json& film, const FilmArea& area, const Json& opts);

// The field of a developer that does not reach the whole film alike, `size` being the film's
// raster; none unless the option `dev_uneven` asks for it, and none in a pack or on a wet plate.
std::optional<Image> uneven_development(const Json& film, const FilmFrame& frame, PixelSize size,
                                        const Json& opts);

// Notes what later stages read of the film's place: `_format_long_um`, `_growth_seed`, the size of
// the print and of its pixels.
void note_film_scale(Json& opts, const Json& paper, const FilmFrame& frame);

}  // namespace morva
