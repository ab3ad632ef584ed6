// A plain ground that a card is shown on: one colour, and the soft shadow of the card's edge.
#pragma once

#include <optional>

#include "finish/card_tint.h"
#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// The colour that option `card_outside` names, white for a name that it does not know; nothing for
// null, an empty name and "none".
std::optional<CardTint> card_ground(const Json& opts);

// `card` (three channels) with `margin_px` of ground on every side, its corners rounded as they
// are cut. Sizes are checked by the caller.
Image lay_on_ground(const Image& card, const CardTint& ground, int margin_px, double px_per_mm);

}  // namespace morva
