#include "finish/card_window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "image/elementary.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kRoot2 = 1.4142135623730951;
constexpr double kDegree = 0.017453292519943295;
constexpr double kDefaultEmbossUm = 1.2;

// The groove as a die leaves it, millimetres.
constexpr double kGrooveMm = 0.3;
constexpr double kFlankMm = 0.1;
constexpr double kShadowMm = 0.16;
constexpr double kCutMm = 0.06;  // the cut edge of the card itself, which looks away from all light

// The room: a window at the upper left, what it throws back from below and from the right. Three
// lights 120 degrees apart, angles from the right counter-clockwise.
struct RoomLight {
  double x, y;  // towards the light, y downwards, times its share
};

std::array<RoomLight, 3> room_lights() {
  constexpr double first_degrees = 150.0, step_degrees = 120.0;
  constexpr double shares[3] = {0.6, 0.25, 0.15};
  std::array<RoomLight, 3> lights{};
  for (int k = 0; k < 3; ++k) {
    const double angle = (first_degrees + step_degrees * k) * kDegree;
    lights[k] = {shares[k] * elementary::cos(angle), -shares[k] * elementary::sin(angle)};
  }
  return lights;
}

const std::array<RoomLight, 3>& lights() {
  static const std::array<RoomLight, 3> room = room_lights();
  return room;
}

// Distance to one corner in its own axes: `u` from the upright edge, `v` from the level one, both
// inwards. The opening is a polygon, drawn in by the rounding, and all within the rounding of it.
EdgeDistance distance_to_corner(double u, double v, const WindowCorner& c) {
  const double r = c.round_px;
  const double foot = std::max(r, c.cut_px + r * (kRoot2 - 1.0));  // where cut and edge meet
  const double past_u = r - u, past_v = r - v;
  const double past_cut = (r + foot - u - v) / kRoot2;
  EdgeDistance edge;
  if (past_u <= 0.0 && past_v <= 0.0 && past_cut <= 0.0) {  // inside: the nearest of three sides
    if (past_cut >= past_u && past_cut >= past_v)
      edge = {past_cut, -1.0 / kRoot2, -1.0 / kRoot2};
    else
      edge = past_u >= past_v ? EdgeDistance{past_u, -1.0, 0.0} : EdgeDistance{past_v, 0.0, -1.0};
  } else if (v >= foot) {
    edge = {past_u, -1.0, 0.0};
  } else if (u >= foot) {
    edge = {past_v, 0.0, -1.0};
  } else {
    const double along = ((u - r) - (v - foot)) / kRoot2;  // the cut from its upright end
    const double length = (foot - r) * kRoot2;
    if (along > 0.0 && along < length) {
      edge = {past_cut, -1.0 / kRoot2, -1.0 / kRoot2};
    } else {
      const double du = u - (along <= 0.0 ? r : foot), dv = v - (along <= 0.0 ? foot : r);
      const double d = std::sqrt(du * du + dv * dv);
      edge = {d, du / std::max(d, 1e-12), dv / std::max(d, 1e-12)};
    }
  }
  edge.px -= r;
  return edge;
}

}  // namespace

WindowCorner window_corner(const Json& frame, double px_per_mm, int h, int w) {
  const Json& record = get_object(frame, "corner");
  const double most_px = std::min(h, w) / 2.0;
  const double mm = get_number(record, "mm", 0.0);
  if (get_text_or(record, "style", "chamfer") == "round")
    return {0.0, held(mm * px_per_mm, 0.0, most_px)};
  const double round_mm = get_number(record, "round_mm", 0.3 * mm);
  WindowCorner corner;
  corner.round_px = held(round_mm * px_per_mm, 0.0, most_px / 2.0);
  corner.cut_px = held(mm * px_per_mm, 0.0, most_px - corner.round_px);
  return corner;
}

EdgeDistance distance_to_edge(double x, double y, int h, int w, const WindowCorner& corner) {
  const bool right = x > w - x, lower = y > h - y;
  EdgeDistance edge = distance_to_corner(right ? w - x : x, lower ? h - y : y, corner);
  if (right) edge.nx = -edge.nx;
  if (lower) edge.ny = -edge.ny;
  return edge;
}

float share_inside(double distance_px) {
  return static_cast<float>(std::clamp(0.5 - distance_px, 0.0, 1.0));
}

WindowLine window_line(const Json& frame, double px_per_mm) {
  WindowLine line;
  const Json& record = get(frame, "window_line");
  if (!truthy(record)) return line;
  constexpr double deepest = 4.0;  // as a factor on the light
  constexpr double longest_px = 256.0;
  const double depth = get_number(record, "emboss_um", kDefaultEmbossUm) / kDefaultEmbossUm;
  line.gain = held(get_number(record, "gain", 0.25) * depth, 0.0, deepest);
  line.groove_px = held(kGrooveMm * px_per_mm, 0.0, longest_px);
  line.flank_px = held(kFlankMm * px_per_mm, 0.0, longest_px);
  line.shadow_px = held(kShadowMm * px_per_mm, 0.0, longest_px);
  line.cut_px = held(kCutMm * px_per_mm, 0.0, longest_px);
  // What is finer than two pixels is drawn that wide, and weaker for it.
  constexpr double finest_px = 0.7;
  line.gain *= std::min(1.0, line.flank_px / finest_px);
  for (double* width : {&line.flank_px, &line.shadow_px, &line.cut_px})
    *width = std::max(*width, finest_px);
  return line;
}

double light_at_edge(const EdgeDistance& edge, const WindowLine& line) {
  constexpr double steepest = 0.6065306597126334;  // of t exp(-t^2 / 2), at t = 1
  constexpr double cut_strength = 1.6;             // against the flank's
  constexpr double sheen = 0.4;                    // white card gains less light than it loses
  const double from_cut = edge.px / line.cut_px;
  double change = -cut_strength * line.gain * elementary::exp(-from_cut * from_cut);
  if (edge.px <= 0.0) {
    const double t = edge.px / line.shadow_px;
    const double shade = line.gain * elementary::exp(-t * t);
    for (const RoomLight& from : lights())
      change -= shade * std::max(0.0, edge.nx * from.x + edge.ny * from.y);
  } else {
    const double t = (edge.px - line.groove_px) / line.flank_px;
    const double slope = t * elementary::exp(-0.5 * t * t) / steepest;
    double relief = 0.0;
    for (const RoomLight& from : lights())
      relief -= line.gain * slope * (edge.nx * from.x + edge.ny * from.y);
    change += relief > 0.0 ? relief * sheen : relief;
  }
  return std::max(1.0 + change, 0.0);
}

int window_line_reach(const WindowLine& line) {
  if (!(line.gain > 1e-4)) return 0;
  return static_cast<int>(
      std::ceil(std::max(line.groove_px + 3.5 * line.flank_px, 3.0 * line.shadow_px)));
}

}  // namespace morva
