// Sheets of peel-apart film: picture and margins of each size that packs and holders were made for.
#pragma once

#include <string>
#include <string_view>

#include "profiles/json_access.h"

namespace morva {

// Millimetres, the sheet standing upright: the pull tab at its bottom, the margins `side` at left
// and right.
struct PeelSize {
  std::string_view name;
  double image_long_mm;
  double image_short_mm;
  double card_long_mm;
  double card_short_mm;
  double side_mm;
  double top_mm;
  double bottom_mm;
};

// `frame` is the film's object of that name; its array `sizes` tells in which sizes the film was
// sold, "3x4" alone when it has none. Throws ProfileError for any other name.
const PeelSize& peel_size(const Json& frame, const std::string& name);

// The size that option `peel_size` asks for, and the one that the flow noted in the record of the
// film in hand (`_peel_size`); "3x4" where they name none.
std::string peel_size_name(const Json& opts);
std::string noted_peel_size(const Json& film);

// A length of `px` pixels along a sheet, for counting what lies on it: `made_mm` where the raster
// comes within its rounding of it, whole millimetres elsewhere. The count then is the same at every
// raster.
double counted_mm(int px, double mm_per_px, double made_mm);

bool is_peel_apart(const Json& frame);

}  // namespace morva
