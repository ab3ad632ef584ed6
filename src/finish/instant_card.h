// The support that instant film comes with: a card around the picture, or the sheet of peel-apart
// film.
#pragma once

#include <optional>

#include "finish/sheet_margins.h"
#include "image/image.h"
#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

// Long over short side of the card's opening when the picture must fill it (`frame.crop` "square"
// or "aspect"); 0 when it need not, and for a film that is not instant. May throw ProfileError for
// `peel_size`.
double instant_aspect(const Json& film, const Json& opts);

// What the opening leaves of a picture, pixels, and the picture cut to it about its centre. A
// square picture counts as lying the film's own way.
PixelSize instant_opening(const Json& film, const Json& opts, PixelSize picture);
Image instant_opening_crop(Image work, const Json& film, const Json& opts);

struct CardPlan {
  SheetMargins margins;  // around a picture that lies the film's own way
  bool turned = false;   // this one lies across it, the card's top at its left
  int outside_px = 0;    // surroundings of the card on each side
  double px_per_mm = 0.0;
  PixelSize size;  // of it all, as it is seen
};

// For a developed picture; nothing when the film has no frame or option `instant_frame` is off.
// Throws std::bad_alloc for more than 32768 pixels a side, ProfileError for an unknown `peel_size`.
std::optional<CardPlan> plan_instant_card(const Json& film, const Json& opts, PixelSize picture);

// The sheet's own keys, written into `stock`: its size, its picture's length and its seed (tag 29
// of the film stream). Only for peel-apart film.
void instant_seeds(Json& stock, const Json& film, const Json& opts);

// The developed picture (linear, three channels) on its card. `stock` is the film's record with the
// flow's own keys. Option `card_outside` shows the card on a ground of that colour, one centimetre
// of it on every side: "white", "cream", "grey", "black", "linen"; "none" and null show the card
// alone, any other name is white.
Image instant_finish(Image print, const Json& stock, const Json& opts);

}  // namespace morva
