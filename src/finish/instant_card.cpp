#include "finish/instant_card.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "finish/card_ground.h"
#include "finish/card_tint.h"
#include "finish/card_window.h"
#include "finish/peel_sheet.h"
#include "finish/sheet_size.h"
#include "input/orientation.h"
#include "profiles/formats.h"
#include "profiles/peel_sizes.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

constexpr int kNarrowestMarginPx = 4;
constexpr double kGroundMm = 10.0;  // surroundings shown beside the card

bool is_native_landscape(const Json& frame) {
  return get_text_or(frame, "native_orientation", "portrait") == "landscape";
}

// A square picture lies the film's own way.
bool lies_across(const Json& frame, PixelSize picture) {
  return is_native_landscape(frame) ? picture.h > picture.w : picture.w > picture.h;
}

int margin_px(double length_px, int narrowest) {
  return std::max(narrowest, static_cast<int>(sheet_pixels(length_px)));
}

// In the film's own orientation.
SheetMargins native_margins(const Json& frame, const std::string& size_name, double long_px) {
  SheetMargins m;
  if (is_peel_apart(frame)) {
    const PeelSize& size = peel_size(frame, size_name);
    const double px = long_px / size.image_long_mm;
    m.left = m.right = margin_px(px * size.side_mm, kNarrowestMarginPx);
    m.top = margin_px(px * size.top_mm, kNarrowestMarginPx);
    m.bottom = margin_px(px * size.bottom_mm, kNarrowestMarginPx);
    return m;
  }
  m.left = m.right = margin_px(get_number(frame, "side_frac", 0.06) * long_px, kNarrowestMarginPx);
  m.top = margin_px(get_number(frame, "top_ratio", 1.0) * m.left, 0);
  m.bottom = margin_px(get_number(frame, "bottom_ratio", 1.0) * m.left, 0);
  return m;
}

Image turned_clockwise(Image image, double degrees) {
  return mirror_rotate(std::move(image), degrees, false);
}

// Fades the picture into the card at its cut corners.
void cut_corners(Image& card, const SheetMargins& m, PixelSize picture, const WindowCorner& corner,
                 const CardTint& tint) {
  const double extent = corner.cut_px + 2.0 * corner.round_px;
  if (!(extent > 0.0)) return;
  const int reach =
      std::min(static_cast<int>(std::ceil(extent)) + 1, (std::min(picture.h, picture.w) + 1) / 2);
  for (int y = 0; y < picture.h; ++y) {
    if (y == reach) y = std::max(y, picture.h - reach);
    for (int x = 0; x < picture.w; ++x) {
      if (x == reach) x = std::max(x, picture.w - reach);
      const float t =
          share_inside(distance_to_edge(x + 0.5, y + 0.5, picture.h, picture.w, corner).px);
      float* p = &card.at(y + m.top, x + m.left);
      for (int k = 0; k < 3; ++k) p[k] = t * p[k] + (1.0f - t) * tint[k];
    }
  }
}

// The pressed line, and the shadow that the card casts on the picture under it.
void press_window_line(Image& card, const SheetMargins& m, PixelSize picture,
                       const WindowCorner& corner, const WindowLine& line) {
  const int reach = window_line_reach(line);
  if (reach == 0) return;
  const int inner = reach + static_cast<int>(std::ceil(corner.cut_px + 2.0 * corner.round_px));
  const int first_y = std::max(-m.top, -reach), end_y = picture.h + std::min(m.bottom, reach);
  const int first_x = std::max(-m.left, -reach), end_x = picture.w + std::min(m.right, reach);
  for (int y = first_y; y < end_y; ++y) {
    const bool whole_row = y < inner || y >= picture.h - inner;
    for (int x = first_x; x < end_x; ++x) {
      if (!whole_row && x == inner && picture.w - inner > x) x = picture.w - inner;
      const EdgeDistance edge = distance_to_edge(x + 0.5, y + 0.5, picture.h, picture.w, corner);
      const auto light = static_cast<float>(light_at_edge(edge, line));
      float* p = &card.at(y + m.top, x + m.left);
      for (int k = 0; k < 3; ++k) p[k] = std::min(p[k] * light, 1.0f);
    }
  }
}

Image lay_on_card(const Image& picture, const SheetMargins& m, const Json& film, double px_per_mm) {
  const Json& frame = get_object(film, "frame");
  const CardTint tint = card_tint(frame);
  Image card = blank_card(picture.h + m.top + m.bottom, picture.w + m.left + m.right, tint);
  for (int y = 0; y < picture.h; ++y)
    std::copy_n(&picture.data[static_cast<std::size_t>(y) * picture.row_samples()],
                picture.row_samples(), &card.at(y + m.top, m.left));
  const PixelSize size = {picture.w, picture.h};
  const WindowCorner corner = window_corner(frame, px_per_mm, picture.h, picture.w);
  cut_corners(card, m, size, corner, tint);
  press_window_line(card, m, size, corner, window_line(frame, px_per_mm));
  return card;
}

}  // namespace

double instant_aspect(const Json& film, const Json& opts) {
  if (get_text_or(film, "type", "") != "instant") return 0.0;
  const Json& frame = get_object(film, "frame");
  const std::string crop = get_text_or(frame, "crop", "");
  if (crop == "square") return 1.0;
  if (crop != "aspect") return 0.0;
  if (is_peel_apart(frame)) {
    const PeelSize& size = peel_size(frame, peel_size_name(opts));
    return size.image_long_mm / size.image_short_mm;
  }
  const double long_mm = get_number_or(frame, "image_long_mm", 0, 0);
  const double short_mm = get_number_or(frame, "image_short_mm", 0, 0);
  return long_mm > 0.0 && short_mm > 0.0 ? long_mm / short_mm : 0.0;
}

PixelSize instant_opening(const Json& film, const Json& opts, PixelSize picture) {
  const double aspect = instant_aspect(film, opts);
  if (!(aspect > 0.0)) return picture;
  const bool landscape = picture.w > picture.h ||
                         (picture.w == picture.h && is_native_landscape(get_object(film, "frame")));
  auto& long_px = landscape ? picture.w : picture.h;
  auto& short_px = landscape ? picture.h : picture.w;
  const auto kept = [](double side, int most) {
    return static_cast<int>(std::clamp(std::nearbyint(side), 1.0, static_cast<double>(most)));
  };
  if (long_px > short_px * aspect)
    long_px = kept(short_px * aspect, long_px);
  else
    short_px = kept(long_px / aspect, short_px);
  return picture;
}

Image instant_opening_crop(Image work, const Json& film, const Json& opts) {
  const PixelSize open = instant_opening(film, opts, {work.w, work.h});
  if (open.w == work.w && open.h == work.h) return work;
  const int top = (work.h - open.h) / 2, left = (work.w - open.w) / 2;
  Image cropped(open.h, open.w, work.c);
  for (int y = 0; y < open.h; ++y)
    std::copy_n(&work.at(y + top, left), cropped.row_samples(), &cropped.at(y, 0));
  return cropped;
}

std::optional<CardPlan> plan_instant_card(const Json& film, const Json& opts, PixelSize picture) {
  const Json& frame = get(film, "frame");
  if (!frame.is_object() || get_text_or(film, "type", "") != "instant" ||
      !get_bool(opts, "instant_frame", true))
    return std::nullopt;
  const double long_px = std::max(picture.h, picture.w);
  const double long_mm = instant_image_long_um(film, peel_size_name(opts)) / 1000.0;
  CardPlan plan;
  plan.turned = lies_across(frame, picture);
  plan.px_per_mm = long_mm > 0.0 ? long_px / long_mm : 0.0;
  plan.margins = native_margins(frame, peel_size_name(opts), long_px);
  if (card_ground(opts)) plan.outside_px = margin_px(kGroundMm * plan.px_per_mm, 1);
  std::int64_t ends = std::int64_t{plan.margins.top} + plan.margins.bottom;
  std::int64_t sides = std::int64_t{plan.margins.left} + plan.margins.right;
  if (plan.turned) std::swap(ends, sides);
  const std::int64_t h = picture.h + ends + 2 * plan.outside_px;
  const std::int64_t w = picture.w + sides + 2 * plan.outside_px;
  require_sheet_size(h, w);
  plan.size = {static_cast<int>(w), static_cast<int>(h)};
  return plan;
}

void instant_seeds(Json& stock, const Json& film, const Json& opts) {
  const Json& frame = get_object(film, "frame");
  if (!is_peel_apart(frame)) return;
  const PeelSize& size = peel_size(frame, peel_size_name(opts));
  stock["_image_long_mm"] = size.image_long_mm;
  stock["_peel_size"] = size.name;
  stock["_peel_seed"] = stream_key(opts, kFilmStream, kPeelTag);
}

Image instant_finish(Image print, const Json& stock, const Json& opts) {
  const auto plan = plan_instant_card(stock, opts, {print.w, print.h});
  if (!plan) return print;
  // The card is made lying the film's own way, and turned back with the picture in it.
  if (plan->turned) print = turned_clockwise(std::move(print), 90.0);
  const bool peel = is_peel_apart(get_object(stock, "frame"));
  Image card = peel ? lay_on_peel_sheet(print, plan->margins, stock, opts)
                    : lay_on_card(print, plan->margins, stock, plan->px_per_mm);
  print = Image();
  if (plan->turned) card = turned_clockwise(std::move(card), -90.0);
  const auto ground = card_ground(opts);
  return ground ? lay_on_ground(card, *ground, plan->outside_px, plan->px_per_mm) : card;
}

}  // namespace morva
