#include "finish/rebate_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>

#include "finish/sheet_size.h"

namespace morva {

namespace {

using Margins = std::array<double, 4>;

constexpr double kGateCornerMm = 0.15;
constexpr double kLeastPlainCornerPx = 0.5;

// Half shadow of a gate. Roll film bulges away from it, a sheet lies close under its holder.
constexpr double kRollRampMm = 0.15;
constexpr double kSheetRampMm = 0.06;

constexpr double kThinRollMm = 0.6;
constexpr double kThinSheetMm = 1.0;
constexpr double kRollRailMm = 0.45;  // wide, along the rails the film runs on
constexpr double kRollGapMm = 0.85;   // wide, towards the next frames

constexpr double kSheetLongSideMm = 0.6;
constexpr double kSheetStopMm = 2.8;     // the end that meets the holder's stop
constexpr double kSheetLoadingMm = 2.2;  // the end that goes in last
constexpr double kSheetSurroundMm = 1.5;
constexpr double kLipLengthMm = 18.0;
constexpr double kLipMm = 1.9;

constexpr std::int64_t kLargestCanvasPx = std::int64_t{1} << 28;  // 3 GiB of samples

// Throws for margins that are out of all proportion, never for the size of the picture itself.
void require_canvas_size(std::int64_t h, std::int64_t w, std::int64_t canvas_h,
                         std::int64_t canvas_w) {
  if (std::max(h, w) <= kLongestSheetPx) require_sheet_size(canvas_h, canvas_w);
  constexpr std::int64_t longest = std::numeric_limits<int>::max();
  if (std::max(canvas_h, canvas_w) > longest ||
      canvas_h * canvas_w > std::max(kLargestCanvasPx, 2 * h * w))
    throw std::bad_alloc();
}

RebatePlan on_canvas(int h, int w, const std::array<int, 4>& margins) {
  RebatePlan plan;
  plan.margins = margins;
  plan.h = h;
  plan.w = w;
  if (!plan.has_canvas()) return plan;
  const std::int64_t tall = std::int64_t{h} + margins[kTopSide] + margins[kBottomSide];
  const std::int64_t broad = std::int64_t{w} + margins[kLeftSide] + margins[kRightSide];
  require_canvas_size(h, w, tall, broad);
  plan.h = static_cast<int>(tall);
  plan.w = static_cast<int>(broad);
  return plan;
}

// Room for each margin and for the edge to wander outside it.
std::array<int, 4> whole_margins(const Margins& margins, bool film_edge, double surround_px) {
  std::array<int, 4> whole;
  for (int side = 0; side < 4; ++side) {
    const double total =
        film_edge ? margins[side] + surround_px : margins[side] / kCarrierEdgePlace;
    whole[side] = std::max(0, sheet_pixels(total));
  }
  return whole;
}

Margins in_pairs(double top_and_bottom, double left_and_right) {
  return {top_and_bottom, top_and_bottom, left_and_right, left_and_right};
}

// The film runs along the long side of every frame but the 6 cm ones.
bool rails_at_top_and_bottom(int h, int w, double format_cm) {
  return (std::nearbyint(format_cm) != 6.0) != (w <= h);
}

RebatePlan plan_wide_roll(int h, int w, double px_per_mm, double margin_px_per_mm,
                          double format_cm) {
  const double rail = kRollRailMm * margin_px_per_mm;
  const double gap = kRollGapMm * margin_px_per_mm;
  const bool rails_on_top = rails_at_top_and_bottom(h, w, format_cm);
  const Margins margins = rails_on_top ? in_pairs(rail, gap) : in_pairs(gap, rail);
  RebatePlan plan = on_canvas(h, w, whole_margins(margins, false, 0.0));
  plan.window.top_bottom = rails_on_top ? GateSide::slanting : GateSide::soft;
  plan.window.left_right = rails_on_top ? GateSide::soft : GateSide::slanting;
  plan.window.slant_px = kRollRailMm * px_per_mm;
  return plan;
}

// A sheet goes into its holder by a short side, which in a picture on its side is the right one and
// in an upright one the bottom: the same sheet, turned by a quarter.
RebatePlan plan_wide_sheet(int h, int w, double px_per_mm, double margin_px_per_mm) {
  const bool is_landscape = w > h;
  Margins mm;
  if (is_landscape)
    mm = {kSheetLongSideMm, kSheetLongSideMm, kSheetStopMm, kSheetLoadingMm};
  else
    mm = {kSheetStopMm, kSheetLoadingMm, kSheetLongSideMm, kSheetLongSideMm};
  Margins film_edge_px;
  for (int side = 0; side < 4; ++side) film_edge_px[side] = mm[side] * margin_px_per_mm;
  RebatePlan plan =
      on_canvas(h, w, whole_margins(film_edge_px, true, kSheetSurroundMm * margin_px_per_mm));
  plan.window.top_bottom = is_landscape ? GateSide::lip : GateSide::soft;
  plan.window.left_right = is_landscape ? GateSide::soft : GateSide::lip;
  // A crop of a few pixels must not vanish under the lip.
  plan.window.lip_px = std::min(kLipMm * px_per_mm, 0.1 * std::min(h, w));
  plan.window.lip_length_px = std::min(kLipLengthMm * px_per_mm, 0.5 * std::max(h, w));
  plan.window.loading_side = is_landscape ? kRightSide : kBottomSide;
  plan.film_edge_px = film_edge_px;
  // Under a margin narrowed by hand the notches shrink with it and stay out of the picture.
  plan.notch_px_per_mm = std::min(px_per_mm, margin_px_per_mm);
  return plan;
}

}  // namespace

bool rebate_follows_format(const RebateStyle& style, const std::string& family, bool full_gate) {
  const bool has_rule = family == "120" || family == "sheet" || family == "plate";
  return style.preset != nullptr && has_rule && (style.name == "thin" || full_gate);
}

RebatePlan plan_rebate_by_fraction(int h, int w, const RebateStyle& style) {
  const double margin = std::max(h, w) * style.width;
  if (std::nearbyint(margin) < 1.0) return on_canvas(h, w, {0, 0, 0, 0});
  const int m = sheet_pixels(margin);
  RebatePlan plan = on_canvas(h, w, {m, m, m, m});
  if (style.preset == nullptr) return plan;
  const double corner = std::min(h, w) * style.preset->picture_corner;
  if (corner >= kLeastPlainCornerPx) plan.window.corner_px = corner;
  return plan;
}

RebatePlan plan_rebate_by_format(int h, int w, const std::string& family, const RebateStyle& style,
                                 double px_per_mm, double format_cm, double width_ratio) {
  const bool is_thin = style.name == "thin";
  if (!is_thin && style.name != "wide")
    throw std::invalid_argument("кайма по формату: стиль " + style.name);
  const bool is_roll = family == "120";
  const double margin_px_per_mm = px_per_mm * width_ratio;
  RebatePlan plan;
  if (is_thin) {
    const double margin = (is_roll ? kThinRollMm : kThinSheetMm) * margin_px_per_mm;
    plan = on_canvas(h, w, whole_margins(in_pairs(margin, margin), false, 0.0));
    plan.window.top_bottom = plan.window.left_right = GateSide::soft;
  } else {
    plan = is_roll ? plan_wide_roll(h, w, px_per_mm, margin_px_per_mm, format_cm)
                   : plan_wide_sheet(h, w, px_per_mm, margin_px_per_mm);
  }
  plan.window.corner_px = kGateCornerMm * px_per_mm;
  plan.window.ramp_px = std::max(1.0, (is_roll ? kRollRampMm : kSheetRampMm) * px_per_mm);
  return plan;
}

}  // namespace morva
