#include "finish/cast_shadow.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "finish/sheet_size.h"
#include "image/filters.h"

namespace morva {

namespace {

constexpr double kRightMm = 0.3;
constexpr double kDownMm = 0.5;
constexpr double kSharpestPx = 0.3;  // below it the edge is not softened
constexpr double kWiderBlur = 0.8;   // of the first blur
constexpr double kSoftestPx = 2048.0;
constexpr float kCoreDepth = 0.5f;
constexpr float kWideDepth = 0.35f;

double softness_px(double edge_px) {
  sheet_pixels(edge_px);
  return std::min(edge_px, kSoftestPx);
}

// `values`, `stride` apart, moved towards larger indices by a length that need not be whole.
void shift_line(const std::vector<float>& values, double by_px, float* out, std::size_t stride) {
  const double whole = std::floor(by_px);
  const float part = static_cast<float>(by_px - whole);
  const std::int64_t back = static_cast<std::int64_t>(whole);
  const std::int64_t last = static_cast<std::int64_t>(values.size()) - 1;
  const auto value = [&](std::int64_t i) {
    return values[static_cast<std::size_t>(std::clamp<std::int64_t>(i, 0, last))];
  };
  for (std::int64_t i = 0; i <= last; ++i)
    out[static_cast<std::size_t>(i) * stride] =
        (1.0f - part) * value(i - back) + part * value(i - back - 1);
}

Image shifted(const Image& mask, double right_px, double down_px) {
  Image moved(mask.h, mask.w, 1);
  std::vector<float> line(static_cast<std::size_t>(mask.w));
  for (std::int32_t y = 0; y < mask.h; ++y) {
    std::copy_n(&mask.data[mask.row_samples() * static_cast<std::size_t>(y)], line.size(),
                line.data());
    shift_line(line, right_px, &moved.at(y, 0), 1);
  }
  line.resize(static_cast<std::size_t>(mask.h));
  for (std::int32_t x = 0; x < mask.w; ++x) {
    for (std::int32_t y = 0; y < mask.h; ++y) line[static_cast<std::size_t>(y)] = moved.at(y, x);
    shift_line(line, down_px, &moved.at(0, x), moved.row_samples());
  }
  return moved;
}

float share_left(float core, float wide) {
  return (1.0f - kCoreDepth * core) * (1.0f - kWideDepth * wide);
}

}  // namespace

CastShadow::Profiles CastShadow::profiles(std::int32_t length, std::int32_t margin, double edge_px,
                                          double offset_px) {
  std::vector<float> line(static_cast<std::size_t>(length) + 2 * static_cast<std::size_t>(margin));
  std::fill_n(line.begin() + margin, length, 1.0f);
  if (edge_px >= kSharpestPx) line = gaussian_filter_line(line, edge_px, kBoundaryNearest);
  Profiles result;
  result.core.resize(line.size());
  shift_line(line, offset_px, result.core.data(), 1);
  result.wide = gaussian_filter_line(result.core, kWiderBlur * edge_px, kBoundaryNearest);
  return result;
}

CastShadow::CastShadow(const SheetOnTable& place, double edge_px, double px_per_mm)
    : down_(profiles(place.h, place.margin, softness_px(edge_px), kDownMm * px_per_mm)),
      across_(profiles(place.w, place.margin, softness_px(edge_px), kRightMm * px_per_mm)) {}

CastShadow::CastShadow(const SheetOnTable& place, const Image& silhouette, double edge_px,
                       double px_per_mm) {
  if (silhouette.h != place.h || silhouette.w != place.w || silhouette.c != 1)
    throw std::logic_error("CastShadow: a silhouette of another size");
  const double soft_px = softness_px(edge_px);
  Image mask(place.h + 2 * place.margin, place.w + 2 * place.margin, 1);
  for (std::int32_t y = 0; y < place.h; ++y)
    for (std::int32_t x = 0; x < place.w; ++x)
      mask.at(y + place.margin, x + place.margin) = sheet_cover(silhouette.at(y, x));
  if (soft_px >= kSharpestPx) mask = blur_plane(mask, soft_px);
  core_ = shifted(mask, kRightMm * px_per_mm, kDownMm * px_per_mm);
  wide_ = blur_plane(*core_, kWiderBlur * soft_px);
}

void CastShadow::light_left(std::int32_t y, std::int32_t x0, std::int32_t x1, float* share) const {
  const std::size_t first = static_cast<std::size_t>(x0);
  const std::size_t columns = static_cast<std::size_t>(x1 - x0);
  if (core_) {
    const std::size_t at = static_cast<std::size_t>(y) * core_->row_samples() + first;
    const float* core = &core_->data[at];
    const float* wide = &wide_->data[at];
    for (std::size_t i = 0; i < columns; ++i) share[i] = share_left(core[i], wide[i]);
    return;
  }
  const float core_row = down_.core[static_cast<std::size_t>(y)];
  const float wide_row = down_.wide[static_cast<std::size_t>(y)];
  const float* core = &across_.core[first];
  const float* wide = &across_.wide[first];
  for (std::size_t i = 0; i < columns; ++i)
    share[i] = share_left(core_row * core[i], wide_row * wide[i]);
}

}  // namespace morva
