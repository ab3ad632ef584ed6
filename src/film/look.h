// The look of a stock in the positive: faded dyes, tinted shadows and highlights, saturation, muted
// greens.
#pragma once

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// `look` is the film's object of that name, or empty. `positive` is linear, three channels, about
// 0..1; changed in place. Throws ProfileError for a tint that is not three numbers.
void apply_look(Image& positive, const Json& look);

}  // namespace morva
