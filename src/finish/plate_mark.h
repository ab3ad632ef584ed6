// The mark of an etching plate: the press drives the plate into damp paper, and its bevelled rim
// stays in the sheet as a step around the picture.
#pragma once

#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// How far from the sheet's edge the plate's rim lies, pixels; nothing without a mark, which a
// border of `border_px` pixels must have room for. `print_px_um`: a pixel's size on the print. The
// option `plate_mark` wins over the process's own.
std::optional<double> plate_mark_px(const Json& paper, const Json& options, double border_px,
                                    double print_px_um);

// Presses the rim into `sheet` (linear RGB) where the option `_plate_px` places it, under the
// sheet's lamp. A sheet without the mark passes unchanged.
Image press_plate_mark(Image sheet, const Json& paper, const Json& options);

}  // namespace morva
