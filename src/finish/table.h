// The table on which a finished sheet lies.
#pragma once

#include <cstdint>

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// How much of the table shows on every side, in pixels: from `table`, `table_width_cm` and the
// scale, 0 where there is none. Throws std::invalid_argument for a name that no table has and
// std::bad_alloc for a width that no sheet has.
std::int32_t table_margin_px(const Json& opts);

// The sheet, three channels of linear light, on the table that `opts` names: a new picture larger
// by the margin on every side, the sheet itself untouched. `edge_mm` is the height of the sheet's
// edge, which casts the shadow. `silhouette` tells the outline of a sheet that is no rectangle: one
// channel of the sheet's size, 1 on the sheet, held to 0..1; null otherwise. The surface draws from
// `rng`, the table's own stream. Throws like table_margin_px().
Image apply_table(Image sheet, const Json& opts, double edge_mm, Rng& rng, const Image* silhouette);

}  // namespace morva
