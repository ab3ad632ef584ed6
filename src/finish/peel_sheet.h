// The sheet of peel-apart film once it is pulled from its negative: white margins, a picture whose
// edge the paste left ragged, and corners of it gone; with the years its margins turn yellow.
#pragma once

#include "finish/sheet_margins.h"
#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// `picture`: linear, three channels, upright. `film` is the record with the flow's own keys; its
// `frame` gives chips, corner, tint and yellowing, `_peel_size` and `_image_long_mm` the sheet.
// Draws from the sheet's own seed (`_peel_seed`). Throws ProfileError for a size in which the film
// was not made. Sizes in pixels are checked by the caller.
Image lay_on_peel_sheet(const Image& picture, const SheetMargins& margins, const Json& film,
                        const Json& options);

}  // namespace morva
