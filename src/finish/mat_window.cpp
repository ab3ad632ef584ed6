#include "finish/mat_window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "finish/sheet_scale.h"
#include "image/elementary.h"

namespace morva {

namespace {

using FourSides = std::array<double, 4>;  // top, bottom, left, right

constexpr double kOverlapMm = 0.8;    // past a border's inner edge
constexpr double kWhiteSlitMm = 0.3;  // of paper left around a rebate's outer edge

std::optional<FourSides> four_sides(const Json& opts, std::string_view key) {
  const Json& value = get(opts, key);
  if (!value.is_array() || value.size() != 4) return std::nullopt;
  FourSides sides;
  for (std::size_t k = 0; k < 4; ++k) sides[k] = as_number(value[k], key);
  return sides;
}

// `inset` and `white`, where known, are how deep the picture and the outer edge of its rebate lie
// in the sheet on this side.
double side_grip(double plain, std::optional<double> inset, std::optional<double> white,
                 double px_per_mm) {
  double grip = plain;
  if (inset) {
    const double overlap = std::max<double>(1.0, sheet_pixels(kOverlapMm * px_per_mm));
    grip = std::max(grip, std::ceil(*inset) + overlap);
  }
  if (!white) return grip;
  const double picture = inset.value_or(0.0);
  const double limit = std::nearbyint(*white - std::max(1.0, kWhiteSlitMm * px_per_mm));
  if (limit > picture + 0.5) return std::min(limit, std::max(grip, picture));
  return std::nearbyint((*white + picture) / 2.0);  // through the middle of the rebate
}

std::array<std::int32_t, 4> grips(std::int32_t sheet_h, std::int32_t sheet_w, const Json& opts,
                                  double px_per_mm) {
  const double plain = plain_grip_px(opts, px_per_mm);
  const auto told = four_sides(opts, "_mat_grips_px");
  const auto inset = four_sides(opts, "_pic_inset_px");
  const auto white = four_sides(opts, "_frame_white_px");
  std::array<std::int32_t, 4> result;
  for (std::size_t k = 0; k < 4; ++k) {
    const double grip =
        told ? (*told)[k]
             : side_grip(plain, inset ? std::optional((*inset)[k]) : std::nullopt,
                         white ? std::optional((*white)[k]) : std::nullopt, px_per_mm);
    const std::int32_t most = (std::max(1, k < 2 ? sheet_h : sheet_w) - 1) / 2;
    result[k] = std::min(std::max(1, sheet_pixels(grip)), most);
  }
  return result;
}

// 1 - 0.16 * weight * exp(-(depth / soft)^1.6), until nothing of it is left in single precision.
std::vector<float> light_beneath(double weight, double soft_px) {
  constexpr double deepest = 0.16;
  constexpr double falloff = 1.6;
  std::vector<float> light = {1.0f};  // the window's own edge
  for (float left = 0.0f; left < 1.0f;) {
    const double depth = static_cast<double>(light.size());
    const double a = elementary::pow(depth / soft_px, falloff);
    left = static_cast<float>(1.0 - elementary::exp(-a) * deepest * weight);
    light.push_back(left);
  }
  return light;
}

MatShadow mat_shadow(double px_per_mm) {
  const double soft_px = std::max(1.5, 2.2 * px_per_mm);
  return {light_beneath(1.0, soft_px), light_beneath(0.3, soft_px), light_beneath(0.55, soft_px)};
}

float light_at(const std::vector<float>& light, std::int32_t depth) {
  return depth < static_cast<std::int32_t>(light.size()) ? light[static_cast<std::size_t>(depth)]
                                                         : 1.0f;
}

float within_unit(float value) {
  return std::min(std::max(0.0f, value), 1.0f);
}

}  // namespace

std::int32_t plain_grip_px(const Json& opts, double px_per_mm) {
  return std::max(1, sheet_pixels(option_px(opts, "mat_grip_mm", 4.0, px_per_mm)));
}

MatWindow mat_window(std::int32_t sheet_h, std::int32_t sheet_w, const Json& opts,
                     double px_per_mm) {
  const auto [top, bottom, left, right] = grips(sheet_h, sheet_w, opts, px_per_mm);
  return {top, sheet_h - bottom - 1, left, sheet_w - right - 1};
}

ShadedWindow::ShadedWindow(const MatWindow& window, double px_per_mm)
    : window_(window), shadow_(mat_shadow(px_per_mm)) {
  const std::int32_t width = window.right - window.left + 1;
  across_.reserve(static_cast<std::size_t>(width) * 3);
  for (std::int32_t x = 0; x < width; ++x)
    across_.insert(across_.end(), 3, light_at(shadow_.side, std::min(x, width - 1 - x)));
}

void ShadedWindow::shade_row(std::int32_t y, const float* in, float* out) const {
  const std::int32_t from_top = y - window_.top;
  const std::int32_t from_bottom = window_.bottom - y;
  const std::int32_t depth = std::min(from_top, from_bottom);
  const float down = light_at(from_top <= from_bottom ? shadow_.top : shadow_.bottom, depth);
  // Columns that are nearer to the left and right edges than the row is to its own.
  const std::size_t samples = across_.size();
  const std::size_t width = samples / 3;
  const std::size_t reach = static_cast<std::size_t>(depth);
  const std::size_t left_end = std::min(reach, (width + 1) / 2) * 3;
  const std::size_t right_begin = samples - std::min(reach, width / 2) * 3;
  for (std::size_t i = 0; i < left_end; ++i) out[i] = within_unit(in[i] * across_[i]);
  for (std::size_t i = left_end; i < right_begin; ++i) out[i] = within_unit(in[i] * down);
  for (std::size_t i = right_begin; i < samples; ++i) out[i] = within_unit(in[i] * across_[i]);
}

}  // namespace morva
