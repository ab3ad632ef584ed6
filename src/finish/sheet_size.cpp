#include "finish/sheet_size.h"

#include <cmath>
#include <cstdio>

namespace morva {

namespace {

std::string length_text(double length_px) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g px", length_px);
  return text;
}

std::string limit_text() {
  return ", лист не больше " + std::to_string(kLongestSheetPx) + " px по стороне";
}

}  // namespace

std::int32_t sheet_pixels(double length_px) {
  if (!(length_px >= -kLongestSheetPx && length_px <= kLongestSheetPx))
    throw SheetTooLarge("длина " + length_text(length_px) + limit_text());
  return static_cast<std::int32_t>(std::nearbyint(length_px));
}

void require_sheet_size(std::int64_t h, std::int64_t w) {
  if (h > kLongestSheetPx || w > kLongestSheetPx)
    throw SheetTooLarge("лист " + std::to_string(w) + " x " + std::to_string(h) + " px" +
                        limit_text());
}

}  // namespace morva
