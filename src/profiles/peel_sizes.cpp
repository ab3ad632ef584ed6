#include "profiles/peel_sizes.h"

#include <algorithm>
#include <cmath>

#include "image/errors.h"

namespace morva {

namespace {

constexpr std::string_view kUsualSize = "3x4";

constexpr PeelSize kPeelSizes[] = {{kUsualSize, 95, 73, 108, 85, 6, 6.5, 6.5},
                                   {"4x5", 118, 90, 127, 102, 6, 4, 5},
                                   {"8x10", 237.5, 190, 254, 203.2, 6.6, 6.5, 10}};

bool is_sold_in(const Json& frame, const std::string& name) {
  const Json& sizes = get(frame, "sizes");
  if (!sizes.is_array() || sizes.empty()) return name == kUsualSize;
  return std::any_of(sizes.begin(), sizes.end(),
                     [&](const Json& size) { return as_text(size) == name; });
}

}  // namespace

const PeelSize& peel_size(const Json& frame, const std::string& name) {
  if (is_sold_in(frame, name))
    for (const PeelSize& size : kPeelSizes)
      if (size.name == name) return size;
  throw ProfileError("пил-апарт: неизвестный размер " + name);
}

std::string peel_size_name(const Json& opts) {
  return get_text_or(opts, "peel_size", kUsualSize);
}

std::string noted_peel_size(const Json& film) {
  return get_text_or(film, "_peel_size", kUsualSize);
}

double counted_mm(int px, double mm_per_px, double made_mm) {
  constexpr double rounding_px = 2.0;  // of a picture and its two margins
  const double mm = px * mm_per_px;
  return std::fabs(mm - made_mm) <= rounding_px * mm_per_px ? made_mm : std::nearbyint(mm);
}

bool is_peel_apart(const Json& frame) {
  return get_text_or(frame, "style", "") == "peel";
}

}  // namespace morva
