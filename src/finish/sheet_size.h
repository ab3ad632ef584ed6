// How large a finished sheet may be. Widths of mats, cards and borders come from a host in
// centimetres; what they make in pixels is held to this before any memory is taken.
#pragma once

#include <cmath>
#include <cstdint>
#include <new>

namespace morva {

inline constexpr std::int32_t kLongestSheetPx = 32768;

// A length in pixels, to the nearest whole one, half to even. Throws std::bad_alloc for one that no
// sheet has, what is no number among them.
inline std::int32_t sheet_pixels(double length_px) {
  if (!(length_px >= -kLongestSheetPx && length_px <= kLongestSheetPx)) throw std::bad_alloc();
  return static_cast<std::int32_t>(std::nearbyint(length_px));
}

// Throws std::bad_alloc for a sheet with a side of more than kLongestSheetPx.
inline void require_sheet_size(std::int64_t h, std::int64_t w) {
  if (h > kLongestSheetPx || w > kLongestSheetPx) throw std::bad_alloc();
}

}  // namespace morva
