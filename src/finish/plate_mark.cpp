#include "finish/plate_mark.h"

#include <algorithm>
#include <cmath>

#include "finish/relief.h"
#include "image/held.h"
#include "print/process_block.h"

namespace morva {

namespace {

constexpr double kUmPerMm = 1000.0;
constexpr float kContrast = 0.55f;  // of light and shade on the rim
// Brings a slope of 1 to what a sharp die gives.
constexpr float kFullLit = kSteepestLit / (kLightAcross + kLightDown);

struct Rim {
  double inset_px = 0.0;   // from the sheet's edge
  double bevel_px = 0.0;   // width of the pressed slope
  double swell_px = 0.0;   // width over which the paper around it rises
  double corner_px = 0.0;  // radius of the plate's corners
  float steepest = 0.0f;   // of the pressed slope, its fall over its run
};

Rim read_rim(const Json& paper, const Json& options) {
  constexpr double bevel_share = 0.45;  // of the mark's width; the rest is the paper's own bend
  constexpr double pressed = 1.2;       // the damp paper gives way further than the plate is thick
  const Json& plate = get_object(get_object(paper, "process"), "plate");
  const double px_per_mm = print_px_per_mm(options);
  const double width_mm = held(get_number(plate, "width_mm", 0.9), 0.01, 50.0);
  const double depth_mm = held(get_number(plate, "depth", 90.0), 0.0, 1e5) / kUmPerMm;
  const double bevel_mm = bevel_share * width_mm;
  Rim rim;
  rim.inset_px = get_number(options, "_plate_px", 0.0);
  rim.bevel_px = std::max(1.0, bevel_mm * px_per_mm);
  rim.swell_px = std::max(1.0, width_mm * px_per_mm);
  rim.corner_px = 1.5 * rim.swell_px;
  rim.steepest = static_cast<float>(1.5 * pressed * depth_mm / bevel_mm);
  return rim;
}

// Slope of the pressed paper at `d` pixels inside the rim, 1 at its steepest: over the bevel it
// falls as a smooth step, 1.5 times as steep in the middle as on the whole, and outside it is the
// faint rise of paper that the press pushed aside.
float slope_at(const Rim& rim, float d) {
  const auto bevel = static_cast<float>(rim.bevel_px);
  const auto swell = static_cast<float>(rim.swell_px);
  if (d >= 0.0f && d <= bevel) {
    const float t = d / bevel;
    return 4.0f * t * (1.0f - t);
  }
  if (d < 0.0f && d > -swell) {
    const float t = -d / swell;
    return -0.45f * 6.75f * t * (1.0f - t) * (1.0f - t);
  }
  return 0.0f;
}

// Distance inside the plate's rounded outline and the way to its nearest point, outwards.
struct Outward {
  float inside, x, y;
};

Outward outward_of(const Rim& rim, int w, int h, float x, float y) {
  const auto inset = static_cast<float>(rim.inset_px);
  const auto radius = static_cast<float>(rim.corner_px);
  const float half_w = 0.5f * static_cast<float>(w) - inset;
  const float half_h = 0.5f * static_cast<float>(h) - inset;
  const float r = std::min(radius, std::max(0.0f, std::min(half_w, half_h)));
  const float cx = x - 0.5f * static_cast<float>(w);
  const float cy = y - 0.5f * static_cast<float>(h);
  const float ax = std::fabs(cx) - (half_w - r);
  const float ay = std::fabs(cy) - (half_h - r);
  const float sx = cx < 0.0f ? -1.0f : 1.0f;
  const float sy = cy < 0.0f ? -1.0f : 1.0f;
  if (ax > 0.0f && ay > 0.0f) {
    const float reach = std::sqrt(ax * ax + ay * ay);
    return {r - reach, sx * ax / reach, sy * ay / reach};
  }
  if (ax > ay) return {r - ax, sx, 0.0f};
  return {r - ay, 0.0f, sy};
}

}  // namespace

std::optional<double> plate_mark_px(const Json& paper, const Json& options, double border_px,
                                    double print_px_um) {
  const Json& plate = get_object(get_object(paper, "process"), "plate");
  const Json& option = get(options, "plate_mark");
  const bool wanted = option.is_null() ? get_bool(plate, "enabled", false) : truthy(option);
  if (!wanted || !(border_px > 0.0) || !(print_px_um > 0.0)) return std::nullopt;
  const double px_per_mm = kUmPerMm / print_px_um;
  const double border_mm = border_px / px_per_mm;
  const char* key = has(plate, "margin_mm") ? "margin_mm" : "offset_mm";
  const double margin_mm = held(get_number(plate, key, 18.0), 0.0, std::max(1.2, 0.35 * border_mm));
  if (!(border_mm - margin_mm >= 0.4)) return std::nullopt;
  return (border_mm - margin_mm) * px_per_mm;
}

Image press_plate_mark(Image sheet, const Json& paper, const Json& options) {
  const Rim rim = read_rim(paper, options);
  const double room_px = 0.5 * std::min(sheet.w, sheet.h);
  if (!(rim.inset_px > 0.0 && rim.inset_px < room_px) || !(rim.steepest > 0.0f)) return sheet;
  const double reach = std::max(rim.corner_px, rim.bevel_px) + 2.0;
  const auto inner = static_cast<float>(rim.inset_px + reach);
  for (int y = 0; y < sheet.h; ++y) {
    const float cy = static_cast<float>(y) + 0.5f;
    const bool row_of_rim = cy < inner || static_cast<float>(sheet.h) - cy < inner;
    for (int x = 0; x < sheet.w; ++x) {
      const float cx = static_cast<float>(x) + 0.5f;
      if (!row_of_rim && cx >= inner && static_cast<float>(sheet.w) - cx >= inner) {
        x = std::max(x, sheet.w - static_cast<int>(inner) - 2);
        continue;
      }
      const Outward rim_at = outward_of(rim, sheet.w, sheet.h, cx, cy);
      const float slope = slope_at(rim, rim_at.inside);
      if (slope == 0.0f) continue;
      // The slope falls inwards: it faces the lamp where its outward way points away from it.
      const float facing = kFullLit * (kLightAcross * rim_at.x + kLightDown * rim_at.y);
      light_pixel(&sheet.at(y, x), sheet.c,
                  light_on_slope(rim.steepest * slope * facing, kContrast));
    }
  }
  return sheet;
}

}  // namespace morva
