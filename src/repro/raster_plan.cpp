// A raster is fixed to the sheet in micrometres; the pixels of a picture are not. What the
// picture's own pixels cannot carry is drawn on more of them: first as many as a viewer could still
// use, so that the dots come within reach, then as many as make their edges clean, to be averaged
// away again.
#include "repro/raster_plan.h"

#include <algorithm>
#include <cmath>

#include "image/held.h"
#include "repro/tube_view.h"

namespace morva {

namespace {

constexpr double kSlack = 1e-9;           // pixels: what rounding leaves of a plan that just fits
constexpr double kLongestPeriodUm = 1e9;  // a kilometre
constexpr double kLeastPixelUm = 1e-6;    // of the sheet
constexpr double kLargestPixelUm = 1e9;   // likewise
constexpr double kMicrometresPerInch = 25400.0;
constexpr double kMostUp = 2.0;
constexpr double kLongestSidePx = 16000.0;  // of a picture that is enlarged
constexpr double kPixelsPerLine = 4.0;      // that a tube's lines are drawn with
constexpr double kLeastPixelsPerLine = 3.0;

double pixel_um(double print_px_um) {
  return held(print_px_um, kLeastPixelUm, kLargestPixelUm);
}

// What of a medium repeats.
struct SheetRaster {
  double period_um = 0.0;
  double lines = 0.0;  // of a tube, in the picture
};

SheetRaster raster_on_sheet(const std::string& repro, const Json& paper, const Json& options) {
  const Json& block = get_object(paper, repro);
  SheetRaster raster;
  if (repro == "offset") {
    raster.period_um = kMicrometresPerInch / get_number(block, "lpi", 150.0);
  } else if (repro == "inkjet") {
    raster.period_um = get_number(block, "spread_um", 30.0) + get_number(block, "drop_um", 45.0);
  } else if (repro == "crt") {
    const TubeView view = plan_tube_view(paper, options);
    if (view.has_mask()) raster.period_um = 1000.0 * view.pitch_mm;
    raster.lines = view.lines_seen;
  }
  const bool is_length = raster.period_um > 0.0 && std::isfinite(raster.period_um);
  raster.period_um = is_length ? std::min(raster.period_um, kLongestPeriodUm) : 0.0;
  return raster;
}

// The fewest pixels that show a period at all: a drop is one dot, a halftone dot grows within its
// cell and a triad has three.
double least_period_px(const std::string& repro) {
  return repro == "inkjet" ? 1.0 : 3.0;
}

RasterPlan plan_at(const std::string& repro, double period_um, double px_um) {
  RasterPlan plan;
  plan.repro = repro;
  plan.period_um = period_um;
  plan.period_px = period_um / px_um;
  plan.resolved = period_um > 0.0 && plan.period_px >= least_period_px(repro) - kSlack;
  return plan;
}

}  // namespace

RasterPlan plan_raster(const Json& paper, const Json& options, double print_px_um) {
  const std::string repro = get_text_or(paper, "repro", "");
  return plan_at(repro, raster_on_sheet(repro, paper, options).period_um, pixel_um(print_px_um));
}

RasterScale plan_raster_scale(const Json& paper, const Json& options, int h, int w,
                              double print_px_um) {
  const std::string repro = get_text_or(paper, "repro", "");
  const SheetRaster raster = raster_on_sheet(repro, paper, options);
  RasterScale scale;
  scale.plan = plan_at(repro, raster.period_um, pixel_um(print_px_um));
  const RasterPlan& plan = scale.plan;
  if (plan.repro.empty() || get_text_or(options, "repro_raster", "auto") == "off") return scale;

  const double period = plan.period_px;
  const double wanted = plan.repro == "inkjet" ? 2.0 : 6.0;  // pixels of a period
  const double least = plan.repro == "inkjet" ? 2.0 : 3.0;
  const double line_px = raster.lines > 0.0 ? h / raster.lines : 0.0;
  const double up_for_lines = line_px > 0.0 ? kPixelsPerLine / line_px : 0.0;
  const double up_for_dots = period > 0.0 ? wanted / std::max(period, 1e-6) : 0.0;
  const double up_for_size = kLongestSidePx / std::max({h, w, 1});
  scale.up = std::max(1.0, std::min({std::max(up_for_lines, up_for_dots), kMostUp, up_for_size}));

  // Dots and lines that stay out of reach gain nothing from a larger picture.
  const bool no_dots = least > scale.up * period + kSlack;
  const bool no_lines = kLeastPixelsPerLine > scale.up * line_px + kSlack;
  if (no_dots && no_lines) scale.up = 1.0;

  const double drawn = scale.up * period;
  // `least` is half of `wanted` or more, so `over` is never above 2.
  if (drawn > 0.0 && drawn >= least - kSlack)
    scale.over = static_cast<int>(std::max(1.0, std::ceil(wanted / drawn - kSlack)));
  return plan.repro == "crt" ? scale_held_whole(scale, h, w) : scale;
}

RasterScale scale_held_whole(RasterScale scale, int h, int w) {
  constexpr double most_pixels = 1 << 27;
  const double pixels = 1.0 * h * w * scale.up * scale.up;
  if (pixels * scale.over * scale.over > most_pixels) scale.over = 1;
  if (pixels > most_pixels) scale.up = std::max(1.0, scale.up * std::sqrt(most_pixels / pixels));
  return scale;
}

int enlarged_side(int px, double factor) {
  constexpr double longest = 1 << 30;  // what any larger one costs fails like memory itself
  return static_cast<int>(held(std::nearbyint(px * factor), 1.0, longest));
}

int enlarged_side(int px, const RasterScale& scale) {
  return enlarged_side(enlarged_side(px, scale.up), scale.over);
}

double enlarged_px_um(double print_px_um, const RasterScale& scale) {
  return pixel_um(print_px_um / scale.up / scale.over);
}

RasterPlan enlarged_plan(const RasterScale& scale, double print_px_um) {
  RasterPlan plan =
      plan_at(scale.plan.repro, scale.plan.period_um, enlarged_px_um(print_px_um, scale));
  const double whole = std::nearbyint(plan.period_px);
  if (whole >= 1.0 && std::fabs(plan.period_px - whole) <= kSlack) plan.period_px = whole;
  return plan;
}

}  // namespace morva
