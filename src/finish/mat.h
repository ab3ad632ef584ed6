// A museum mat: a board with a bevelled window, laid over the sheet so that it grips its edges.
#pragma once

#include <cstdint>
#include <optional>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// What a mat adds around the sheet, in pixels; the top is as wide as the sides.
struct MatMargins {
  std::int32_t side_px;
  std::int32_t bottom_px;
};

// From `mat`, `mat_width_cm`, `mat_bottom_weight` and the scale; nothing where there is no mat.
// Throws std::invalid_argument for a name that no mat has and std::bad_alloc for a width that no
// sheet has.
std::optional<MatMargins> mat_margins(const Json& opts);

// The sheet, three channels of linear light, under the mat that `opts` names: a new picture larger
// by the margins, every sample within 0..1. `_mat_margins` is set in `opts` to [side, bottom].
// Nothing is random. Without a mat the sheet comes back as it is. Throws like mat_margins().
Image apply_mat(Image sheet, Json& opts);

}  // namespace morva
