#include "finish/stamps.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "finish/relief.h"
#include "finish/sheet_scale.h"
#include "finish/typeface.h"

namespace morva {

namespace {

constexpr float kLineStrength = 0.1f;
constexpr float kMarkStrength = 0.16f;
constexpr float kTextStrength = 0.22f;
constexpr float kMarkHollow = 0.2f;
constexpr float kTextHollow = 0.5f;

constexpr double kClearOfCornerMm = 9.0;  // a row of stamps keeps this far from the picture's left
constexpr double kClearHeightMm = 6.0;    // of the strip in which the lines break
constexpr double kGapMm = 3.0;            // between two stamps and between a stamp and a line
constexpr double kNarrowMarginMm = 8.0;
constexpr double kRowFromEdgeMm = 5.0;    // in a narrow margin, from the sheet's edge
constexpr double kClearOfPicture = 0.75;  // of a capital's height, from the row's middle
constexpr double kLineHeight = 1.42;      // ascent to descent, in capitals
constexpr double kLeastTextPx = 2.0;

constexpr double kSharpestBendPx = 0.6;
constexpr double kBendMm = 0.3;

// A blind stamp's die, in capitals of its text.
constexpr double kMarkText = 1.2;  // against the name beside it
constexpr double kMarkHeight = 2.0;
constexpr double kMarkSides = 0.8;  // paper left of the text and right of it
constexpr double kMarkCorner = 0.5;
constexpr double kMarkBend = 0.045;   // its engraved letters are crisper than set type
constexpr double kTallestMark = 0.8;  // of the margin

double capital_mm(const Json& opts) {
  const std::string size = get_text_or(opts, "stamp_size", "m");
  if (size == "s") return 1.8;
  if (size == "l") return 3.6;
  if (size == "xl") return 5.0;
  return 2.6;
}

// The paper that may be pressed, and the picture on it.
struct Margins {
  SheetRect paper;
  SheetRect picture;
  double side_px = 0.0;
  double bottom_px = 0.0;

  // Under the picture, where the row of stamps stands.
  SheetRect foot() const { return {paper.left, picture.bottom, paper.right, paper.bottom}; }
};

// Nothing when there is no paper around the picture, or none inside the plate mark.
std::optional<Margins> find_margins(const Image& sheet, const Json& opts) {
  const double border = get_number(opts, "_border_px", 0.0);
  const Json& lower = get(opts, "_border_px_bottom");
  const double bottom = lower.is_null() ? border : as_number(lower, "_border_px_bottom");
  const double plate = std::max(0.0, get_number(opts, "_plate_px", 0.0));
  if (!(border - plate >= 1.0) || !(bottom - plate >= 1.0)) return std::nullopt;
  const int side = sheet_pixels(border), below = sheet_pixels(bottom), rim = sheet_pixels(plate);
  Margins margins;
  margins.paper = {rim, rim, sheet.w - rim, sheet.h - rim};
  margins.picture = {side, side, sheet.w - side, sheet.h - below};
  margins.side_px = border - plate;
  margins.bottom_px = bottom - plate;
  const SheetRect& picture = margins.picture;
  if (picture.left >= picture.right || picture.top >= picture.bottom) return std::nullopt;
  return margins;
}

// The four margins around the picture: what is pressed there leaves the picture alone.
template <class Press>
void on_margins(const Margins& margins, Press press) {
  const SheetRect& a = margins.paper;
  const SheetRect& p = margins.picture;
  press(SheetRect{a.left, a.top, a.right, p.top});
  press(margins.foot());
  press(SheetRect{a.left, p.top, p.left, p.bottom});
  press(SheetRect{p.right, p.top, a.right, p.bottom});
}

// A mask over a part of the bottom margin, with room for the bend all around.
struct StripMask {
  Image mask;
  int left = 0;
  int top = 0;
};

StripMask strip_mask(const Margins& margins, double left, double right, double middle,
                     double half_height, double bend_px) {
  const auto within = [](double v, int least, int most) {
    return static_cast<int>(std::floor(std::clamp<double>(v, least, most)));
  };
  const SheetRect& paper = margins.paper;
  const int room = static_cast<int>(std::ceil(4.0 * bend_px)) + 1;
  const int top = margins.picture.bottom;
  StripMask strip;
  strip.left = within(left, paper.left, paper.right) - room;
  strip.top = within(middle - half_height, top, paper.bottom) - room;
  const int last_column = within(right + 1.0, paper.left, paper.right) + room;
  const int last_row = within(middle + half_height + 1.0, top, paper.bottom) + room;
  strip.mask = Image(last_row - strip.top, last_column - strip.left, 1);
  return strip;
}

// What stands in the bottom margin: the name and, to its right, the mark.
struct StampRow {
  TextLine name;
  TextLine mark_text;
  double mark_px = 0.0;  // height of the mark
  double mark_sides_px = 0.0;
  double left = 0.0;
  double mark_left = 0.0;
  double right = 0.0;
  double middle = 0.0;  // row of the sheet
};

// In the middle of a wide margin. In a narrow one 5 mm from the sheet's edge, as a hand would hold
// the die; where that comes too near to the picture, as far from it as the capitals need.
double middle_of_row(const Margins& margins, double capital_px, double px_per_mm) {
  const double edge = margins.paper.bottom;
  if (margins.bottom_px >= kNarrowMarginMm * px_per_mm) return edge - 0.5 * margins.bottom_px;
  return edge -
         std::min(kRowFromEdgeMm * px_per_mm, margins.bottom_px - kClearOfPicture * capital_px);
}

// In the middle of the sheet, but clear of the picture's corner as long as that cuts nothing off.
double left_of_row(const Margins& margins, double width, double px_per_mm) {
  const SheetRect& paper = margins.paper;
  const double centred = 0.5 * (paper.left + paper.right - width);
  const double clear = margins.picture.left + kClearOfCornerMm * px_per_mm;
  const bool fits = width <= paper.right - paper.left;
  return fits && clear + width > paper.right ? centred : std::max(centred, clear);
}

// Nothing when there is no text, or when it would be too small to tell from the paper.
std::optional<StampRow> set_row(const Margins& margins, const Json& opts, double px_per_mm) {
  const std::string name = get_text_or(opts, "stamp_text", "");
  const std::string mark = get_text_or(opts, "blind_stamp", "");
  const double capital_px =
      std::min(capital_mm(opts), 0.5 * margins.bottom_px / px_per_mm) * px_per_mm;
  if ((name.empty() && mark.empty()) || capital_px * kLineHeight < kLeastTextPx)
    return std::nullopt;

  StampRow row;
  const double longest = margins.paper.right - margins.paper.left;
  double width = 0.0;
  if (!name.empty()) {
    row.name = set_text(name, capital_px * kLineHeight, longest);
    width = row.name.width_px;
  }
  if (!mark.empty()) {
    const double mark_capital_px =
        std::min(kMarkText * capital_px, kTallestMark * margins.bottom_px / kMarkHeight);
    row.mark_text = set_text(mark, mark_capital_px * kLineHeight, longest);
    row.mark_px = kMarkHeight * row.mark_text.cap_px;
    row.mark_sides_px = kMarkSides * row.mark_text.cap_px;
    if (width > 0.0) width += kGapMm * px_per_mm;
    row.mark_left = width;
    width += row.mark_text.width_px + 2.0 * row.mark_sides_px;
  }
  row.left = left_of_row(margins, width, px_per_mm);
  row.mark_left += row.left;
  row.right = row.left + width;
  row.middle = middle_of_row(margins, capital_px, px_per_mm);
  return row;
}

void press_text(Image& sheet, const Margins& margins, const TextLine& line, double left,
                double middle, double bend_px, bool raised) {
  if (line.letters.empty()) return;
  constexpr double tallest_letter = 2.5;  // of a capital, up or down
  StripMask strip = strip_mask(margins, left - line.cap_px, left + line.width_px + line.cap_px,
                               middle, tallest_letter * line.cap_px, bend_px);
  draw_text(line, left - strip.left, middle + 0.5 * line.cap_px - strip.top, strip.mask);
  press_relief(sheet, strip.mask, strip.left, strip.top, margins.foot(),
               {bend_px, kTextStrength, kTextHollow, raised});
}

// How much of a pixel a rounded rectangle covers.
float rounded_rect(double dx, double dy, double half_w, double half_h, double radius) {
  const double ax = std::fabs(dx) - (half_w - radius);
  const double ay = std::fabs(dy) - (half_h - radius);
  const double outside_x = std::max(ax, 0.0), outside_y = std::max(ay, 0.0);
  const double distance = std::sqrt(outside_x * outside_x + outside_y * outside_y) +
                          std::min(std::max(ax, ay), 0.0) - radius;
  return static_cast<float>(std::clamp(0.5 - distance, 0.0, 1.0));
}

// The die of a blind stamp sinks a panel into the sheet, and its letters stay standing in it.
void press_mark(Image& sheet, const Margins& margins, const StampRow& row, double bend_px) {
  if (row.mark_text.letters.empty()) return;
  StripMask strip =
      strip_mask(margins, row.mark_left, row.right, row.middle, 0.5 * row.mark_px, bend_px);
  const double half_w = 0.5 * (row.right - row.mark_left), half_h = 0.5 * row.mark_px;
  const double radius = std::min(kMarkCorner * row.mark_text.cap_px, half_h);
  for (int y = 0; y < strip.mask.h; ++y)
    for (int x = 0; x < strip.mask.w; ++x)
      strip.mask.at(y, x) = rounded_rect(strip.left + x + 0.5 - row.mark_left - half_w,
                                         strip.top + y + 0.5 - row.middle, half_w, half_h, radius);
  press_relief(sheet, strip.mask, strip.left, strip.top, margins.foot(),
               {bend_px, kMarkStrength, kMarkHollow, false});
  const double letters_bend_px =
      std::max(kSharpestBendPx, std::min(bend_px, kMarkBend * row.mark_text.cap_px));
  press_text(sheet, margins, row.mark_text, row.mark_left + row.mark_sides_px, row.middle,
             letters_bend_px, true);
}

// The groove of one embossed line: a rectangle around the picture, broken for the row of stamps.
struct Groove {
  double left = 0.0, top = 0.0, right = 0.0, bottom = 0.0;  // its middle
  double width_px = 0.0;
  double break_left = 0.0, break_right = 0.0;  // in the bottom side; none when equal
  double break_top = 0.0, break_bottom = 0.0;

  double reach_px() const { return 1.6 * width_px; }
};

// A wall of the groove, 0..1: as wide as one and a half of the line.
float wall(double from_wall, double width_px) {
  return static_cast<float>(std::max(0.0, 1.0 - std::fabs(from_wall) / (0.75 * width_px)));
}

// Light on the groove at `t` pixels from its middle, counted away from the lamp: the wall nearer to
// the lamp lies in shade, the other one faces it.
float light_in_groove(double t, double width_px, float lamp) {
  constexpr double wall_place = 0.8;  // of the width, from the middle
  const float slope =
      wall(t - wall_place * width_px, width_px) - wall(t + wall_place * width_px, width_px);
  return light_on_slope(kSteepestLit * lamp * slope, kLineStrength);
}

float groove_light(const Groove& groove, double x, double y) {
  constexpr float across = kLightAcross / kLightDown;
  if (x > groove.break_left && x < groove.break_right && y > groove.break_top &&
      y < groove.break_bottom)
    return 1.0f;
  const double above = groove.top - y, below = y - groove.bottom;
  const double before = groove.left - x, after = x - groove.right;
  const double outside = std::max({above, below, before, after});
  if (std::fabs(outside) > groove.reach_px()) return 1.0f;
  if (outside == above) return light_in_groove(-above, groove.width_px, 1.0f);
  if (outside == below) return light_in_groove(below, groove.width_px, 1.0f);
  if (outside == before) return light_in_groove(-before, groove.width_px, across);
  return light_in_groove(after, groove.width_px, across);
}

void press_groove(Image& sheet, const SheetRect& paper, const Groove& groove) {
  const double reach = groove.reach_px();
  const auto press = [&](int y, int first, int last) {
    for (int x = std::max(first, paper.left); x < std::min(last, paper.right); ++x) {
      const float light = groove_light(groove, x + 0.5, y + 0.5);
      if (light != 1.0f) light_pixel(&sheet.at(y, x), sheet.c, light);
    }
  };
  const auto whole = [](double v) { return static_cast<int>(std::floor(v)); };
  for (int y = paper.top; y < paper.bottom; ++y) {
    if (y + 1 < groove.top - reach || y > groove.bottom + reach) continue;
    if (y < groove.top + reach || y + 1 > groove.bottom - reach) {
      press(y, whole(groove.left - reach), whole(groove.right + reach) + 1);
    } else {
      press(y, whole(groove.left - reach), whole(groove.left + reach) + 1);
      press(y, whole(groove.right - reach), whole(groove.right + reach) + 1);
    }
  }
}

void emboss_lines(Image& sheet, const Margins& margins, const std::string& kind,
                  const std::optional<StampRow>& row, double px_per_mm) {
  if (kind != "single" && kind != "double") return;
  const double width = std::max(1.5, 0.5 * px_per_mm);
  const double apart = 2.5 * width;  // middle to middle: one and a half of a width between them
  const std::vector<double> offsets = kind == "double" ? std::vector{-0.5, 0.5} : std::vector{0.0};
  for (const double offset : offsets) {
    const double side = 0.5 * margins.side_px + offset * apart;
    Groove groove;
    groove.left = margins.picture.left - side;
    groove.top = margins.picture.top - side;
    groove.right = margins.picture.right + side;
    groove.bottom = margins.picture.bottom + 0.5 * margins.bottom_px + offset * apart;
    groove.width_px = width;
    if (row) {
      const double half_height = 0.5 * std::max(kClearHeightMm * px_per_mm, row->mark_px);
      groove.break_left = row->left - kGapMm * px_per_mm;
      groove.break_right = row->right + kGapMm * px_per_mm;
      groove.break_top = row->middle - half_height;
      groove.break_bottom = row->middle + half_height;
    }
    on_margins(margins, [&](const SheetRect& paper) { press_groove(sheet, paper, groove); });
  }
}

}  // namespace

Image apply_stamps(Image sheet, const Json& opts) {
  const std::string line = get_text_or(opts, "emboss_line", "");
  const double px_per_mm = sheet_px_per_mm(opts);
  const std::optional<Margins> margins = find_margins(sheet, opts);
  if (!margins || !(px_per_mm > 0.0)) return sheet;

  const std::optional<StampRow> row = set_row(*margins, opts, px_per_mm);
  emboss_lines(sheet, *margins, line, row, px_per_mm);
  if (!row) return sheet;
  // A margin under 1.2 mm is no wider than four bends: what is pressed there bends with the margin,
  // or it would be gone.
  const double bend_px =
      std::min(std::max(kSharpestBendPx, kBendMm * px_per_mm), 0.25 * margins->bottom_px);
  press_mark(sheet, *margins, *row, bend_px);
  press_text(sheet, *margins, row->name, row->left, row->middle, bend_px, false);
  return sheet;
}

}  // namespace morva
