#include "finish/card_tint.h"

#include <algorithm>

#include "finish/sheet_size.h"
#include "image/held.h"

namespace morva {

CardTint card_tint(const Json& frame) {
  CardTint tint = {1.0f, 0.99f, 0.975f};
  const Json& given = get(frame, "base_tint");
  const auto is_number = [](const Json& value) { return value.is_number(); };
  if (!given.is_array() || given.size() != 3 || !std::ranges::all_of(given, is_number)) return tint;
  for (int k = 0; k < 3; ++k)
    tint[k] = static_cast<float>(held(as_number(given[k], "base_tint"), 0.0, 1.0));
  return tint;
}

Image blank_card(std::int64_t h, std::int64_t w, const CardTint& tint) {
  require_sheet_size(h, w);
  Image card(static_cast<std::int32_t>(h), static_cast<std::int32_t>(w), 3);
  for (std::size_t i = 0; i < card.pixels(); ++i) std::copy_n(tint.data(), 3, &card.data[i * 3]);
  return card;
}

}  // namespace morva
