#include "repro/tube_view.h"

#include <algorithm>

#include "image/held.h"

namespace morva {

namespace {

constexpr double kCmPerInch = 2.54;
constexpr double kMmPerInch = 25.4;
constexpr double kWidthOfDiagonal = 0.8;  // a screen of 4 by 3
constexpr double kHeightOfDiagonal = 0.6;
constexpr double kClosest = 10.0;
constexpr double kSmallestTubeIn = 0.1, kLargestTubeIn = 1e4;
constexpr double kMostLines = 1e6;

// What is asked for as a size is the diagonal of the part that fills the picture.
double zoom_of(const Json& options, double nominal_in) {
  const Json& zoom = get(options, "crt_zoom");
  if (!zoom.is_null()) return as_number(zoom, "crt_zoom");
  const Json& size_in = get(options, "crt_size_in");
  if (size_in.is_null()) return 1.0;
  return nominal_in / std::max(0.001, as_number(size_in, "crt_size_in"));
}

}  // namespace

TubeView plan_tube_view(const Json& paper, const Json& options) {
  const Json& tube = get_object(paper, "crt");
  const double nominal_in =
      held(get_number(tube, "nominal_in", 21.0), kSmallestTubeIn, kLargestTubeIn);
  TubeView view;
  view.zoom = held(zoom_of(options, nominal_in), 1.0, kClosest);
  view.image_cm = nominal_in * kCmPerInch * kWidthOfDiagonal / view.zoom;
  view.image_mm = nominal_in * kMmPerInch * kHeightOfDiagonal / view.zoom;
  view.pitch_mm = get_number(tube, "pitch_mm", 0.72);
  const double lines = held(get_number(tube, "lines", 576.0), 1.0, kMostLines);
  view.lines_seen = std::max(1.0, lines / view.zoom);
  view.mask = get_text_or(tube, "mask", "delta");
  return view;
}

}  // namespace morva
