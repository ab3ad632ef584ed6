// The scale of the finished sheet: what a length on it makes in pixels.
#pragma once

#include <string_view>

#include "finish/sheet_size.h"
#include "profiles/json_access.h"

namespace morva {

// From `print_px_um`. Throws std::bad_alloc for a scale that no sheet has.
inline double sheet_px_per_mm(const Json& opts) {
  const double px_per_mm = 1000.0 / get_number(opts, "print_px_um", 100.0);
  sheet_pixels(px_per_mm);
  return px_per_mm;
}

// A length that the option `key` gives in millimetres, in pixels and not rounded. Throws like
// sheet_pixels().
inline double option_px(const Json& opts, std::string_view key, double fallback_mm,
                        double px_per_mm) {
  const double length_px = get_number(opts, key, fallback_mm) * px_per_mm;
  sheet_pixels(length_px);
  return length_px;
}

}  // namespace morva
