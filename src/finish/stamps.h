// Blind stamps: a name, a mark and a line pressed without ink into the paper around the picture.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Presses what `stamp_text`, `blind_stamp` and `emboss_line` ("single" or "double") ask for into
// the margin of `sheet`, linear RGB; the option `stamp_size` gives the height of a capital. The
// margin is `_border_px` wide, `_border_px_bottom` below when given, and inside the plate mark
// where `_plate_px` is above 0; `print_px_um` is the scale. Text stands in the middle of the bottom
// margin, the mark to its right, and the lines break before them; what is too long is cut off by
// the paper's edge. The picture itself stays as it is, and so does a sheet without a margin.
// Nothing is random. Throws std::runtime_error when text is asked for and the system has no bold
// grotesque.
Image apply_stamps(Image sheet, const Json& opts);

}  // namespace morva
