#include "finish/card_ground.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "finish/card_window.h"
#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

struct NamedGround {
  const char* name;
  CardTint colour;
};

constexpr NamedGround kGrounds[] = {{"white", {0.8f, 0.79f, 0.77f}},
                                    {"cream", {0.8073f, 0.7162f, 0.5462f}},
                                    {"grey", {0.28f, 0.275f, 0.265f}},
                                    {"black", {0.025f, 0.024f, 0.023f}},
                                    {"linen", {0.624f, 0.591f, 0.539f}}};

constexpr double kCornerMm = 1.2;  // cards are punched with slightly round corners

// Light comes from above and a little from the left: the card, half a millimetre thick, has a close
// dark edge below it and a wide faint one.
struct CardShadow {
  double down_px, right_px;
  double close_px, wide_px;
};

float shade(double distance_px, const CardShadow& s) {
  constexpr double close_strength = 0.42, wide_strength = 0.3;
  const double d = std::max(distance_px, 0.0);
  const double close = elementary::exp(-0.5 * (d / s.close_px) * (d / s.close_px));
  const double wide = elementary::exp(-0.5 * (d / s.wide_px) * (d / s.wide_px));
  return static_cast<float>((1.0 - close_strength * close) * (1.0 - wide_strength * wide));
}

}  // namespace

std::optional<CardTint> card_ground(const Json& opts) {
  const std::string name = get_text_or(opts, "card_outside", "none");
  if (name == "none") return std::nullopt;
  for (const NamedGround& ground : kGrounds)
    if (name == ground.name) return ground.colour;
  return kGrounds[0].colour;
}

Image lay_on_ground(const Image& card, const CardTint& ground, int margin_px, double px_per_mm) {
  const CardShadow shadow = {0.35 * px_per_mm, 0.12 * px_per_mm, std::max(0.28 * px_per_mm, 0.5),
                             std::max(1.6 * px_per_mm, 1.0)};
  const WindowCorner corner = {0.0,
                               held(kCornerMm * px_per_mm, 0.0, std::min(card.h, card.w) / 2.0)};
  Image sheet = blank_card(card.h + 2 * std::int64_t{margin_px},
                           card.w + 2 * std::int64_t{margin_px}, ground);
  // Rows and columns of the card that lie clear of its edge.
  const int rim = 1 + static_cast<int>(std::ceil(corner.round_px));
  for (int y = 0; y < sheet.h; ++y) {
    const int card_y = y - margin_px;
    const bool clear_row = card_y >= rim && card_y < card.h - rim;
    for (int x = 0; x < sheet.w; ++x) {
      const int card_x = x - margin_px;
      float* p = &sheet.at(y, x);
      if (clear_row && card_x == 0 && card.w > 0) {
        std::copy_n(&card.data[card_y * card.row_samples()], card.row_samples(), p);
        x += card.w - 1;
        continue;
      }
      const float t =
          share_inside(distance_to_edge(card_x + 0.5, card_y + 0.5, card.h, card.w, corner).px);
      const float light =
          shade(distance_to_edge(card_x + 0.5 - shadow.right_px, card_y + 0.5 - shadow.down_px,
                                 card.h, card.w, corner)
                    .px,
                shadow);
      for (int k = 0; k < 3; ++k) p[k] *= light;
      // Just outside, rounding may leave a pixel a share of the card.
      const bool on_card = card_y >= 0 && card_y < card.h && card_x >= 0 && card_x < card.w;
      if (!on_card || t <= 0.0f) continue;
      const float* in = &card.data[card_y * card.row_samples() + std::size_t{3} * card_x];
      for (int k = 0; k < 3; ++k) p[k] += t * (in[k] - p[k]);
    }
  }
  return sheet;
}

}  // namespace morva
