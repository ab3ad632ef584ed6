#include "input/crop_geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "image/elementary.h"

namespace morva {

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr double kLeastCropPx = 64.0;

// The pixel nearest to `position`, half to even; a position that is not a number counts as `low`.
int pixel_within(double position, int low, int high) {
  const double pixel = std::nearbyint(position);
  return pixel > low ? static_cast<int>(std::min<double>(pixel, high)) : low;
}

double short_side_px(const Crop& crop, PixelSize picture) {
  return std::min(picture.h * crop.h, picture.w * crop.w);
}

Point centre_of(const Crop& crop) {
  return {crop.x + crop.w / 2.0, crop.y + crop.h / 2.0};
}

Crop crop_about(Point centre, double w, double h) {
  return {centre.x - w / 2.0, centre.y - h / 2.0, w, h};
}

// A crop in the pixels of the source: its centre, and the way from there to each corner.
struct TurnedCrop {
  Point centre;
  std::array<Point, 4> to_corner;
};

TurnedCrop turned_crop(const Crop& crop, double angle, PixelSize picture) {
  const Straightening turn = straightening(angle);
  const double cx = picture.w / 2.0, cy = picture.h / 2.0;
  const Point middle = centre_of(crop);
  const Point centre = turn.turned({middle.x * picture.w - cx, middle.y * picture.h - cy});
  const double half_w = crop.w * picture.w / 2.0, half_h = crop.h * picture.h / 2.0;
  return {{centre.x + cx, centre.y + cy},
          {turn.turned({-half_w, -half_h}), turn.turned({half_w, -half_h}),
           turn.turned({half_w, half_h}), turn.turned({-half_w, half_h})}};
}

// How many times `step` goes from `position` before it leaves 0..size; infinity when it does not
// move.
double steps_inside(double position, double step, int size) {
  constexpr double kNoStep = 1e-12;
  if (std::fabs(step) <= kNoStep) return std::numeric_limits<double>::infinity();
  return step > 0.0 ? (size - position) / step : position / -step;
}

}  // namespace

bool is_straight(double angle) {
  return !std::isfinite(angle) || std::fabs(angle) < 1e-9;
}

Straightening straightening(double angle) {
  const double radians = angle / kDegreesPerRadian;
  return {elementary::cos(radians), elementary::sin(radians)};
}

PixelRect crop_pixels(const Json& value, PixelSize picture) {
  if (!value.is_array() || value.size() != 4)
    throw std::invalid_argument("crop — четыре доли (x, y, w, h)");
  double part[4];
  for (std::size_t i = 0; i < 4; ++i) part[i] = as_number(value[i], "crop");
  PixelRect rect;
  rect.x0 = pixel_within(picture.w * part[0], 0, picture.w - 1);
  rect.y0 = pixel_within(picture.h * part[1], 0, picture.h - 1);
  rect.x1 = pixel_within((part[2] + part[0]) * picture.w, rect.x0 + 1, picture.w);
  rect.y1 = pixel_within((part[3] + part[1]) * picture.h, rect.y0 + 1, picture.h);
  return rect;
}

std::array<Point, 4> crop_corners(const Crop& crop, double angle, PixelSize picture) {
  const TurnedCrop turned = turned_crop(crop, angle, picture);
  std::array<Point, 4> corners = turned.to_corner;
  for (Point& corner : corners) {
    corner.x += turned.centre.x;
    corner.y += turned.centre.y;
  }
  return corners;
}

bool crop_fits(const Crop& crop, double angle, PixelSize picture, double tolerance_px) {
  const auto within = [tolerance_px](double position, int size) {
    return position >= -tolerance_px && position <= size + tolerance_px;
  };
  const std::array<Point, 4> corners = crop_corners(crop, angle, picture);
  return std::all_of(corners.begin(), corners.end(), [&](const Point& corner) {
    return within(corner.x, picture.w) && within(corner.y, picture.h);
  });
}

double crop_max_scale(const Crop& crop, double angle, PixelSize picture) {
  const TurnedCrop turned = turned_crop(crop, angle, picture);
  double scale = std::numeric_limits<double>::infinity();
  for (const Point& way : turned.to_corner)
    scale = std::min({scale, steps_inside(turned.centre.x, way.x, picture.w),
                      steps_inside(turned.centre.y, way.y, picture.h)});
  return std::isinf(scale) ? 1.0 : std::max(scale, 0.0);
}

Crop crop_scaled(const Crop& crop, double scale, PixelSize picture, double min_px) {
  const double side = short_side_px(crop, picture);
  const double s = side > 0.0 ? std::max(min_px / side, scale) : scale;
  return crop_about(centre_of(crop), crop.w * s, crop.h * s);
}

Crop crop_fit_to_angle(const Crop& crop, double angle, PixelSize picture, bool allow_grow) {
  const double room = crop_max_scale(crop, angle, picture);
  return crop_scaled(crop, allow_grow ? room : std::min(room, 1.0), picture, kLeastCropPx);
}

Crop crop_expanded(const Crop& crop, PixelSize picture, double aspect, double angle) {
  const double w = picture.w, h = picture.h;
  if (aspect <= 0.0) aspect = (w * crop.w) / (h * crop.h);
  if (!(aspect > 0.0 && std::isfinite(aspect))) aspect = w / h;
  const Point centre = centre_of(crop);
  const double height_of_full_width = (w / aspect) / h;
  if (is_straight(angle)) {
    const bool full_height = aspect < w / h;
    const double new_w = full_height ? std::min(1.0, h * aspect / w) : 1.0;
    const double new_h = full_height ? 1.0 : std::min(1.0, height_of_full_width);
    const Crop free = crop_about(centre, new_w, new_h);
    return {std::clamp(free.x, 0.0, 1.0 - new_w), std::clamp(free.y, 0.0, 1.0 - new_h), new_w,
            new_h};
  }
  const Crop full_width = crop_about(centre, 1.0, height_of_full_width);
  return crop_scaled(full_width, crop_max_scale(full_width, angle, picture), picture, 1.0);
}

double straighten_angle(Point from, Point to) {
  const double line = elementary::atan2(to.y - from.y, to.x - from.x) * kDegreesPerRadian;
  double off_axis = std::fmod(line + 45.0, 90.0);
  if (off_axis < 0.0) off_axis += 90.0;
  off_axis -= 45.0;
  if (off_axis <= -44.999999999999) off_axis = 45.0;
  return 0.0 - off_axis;
}

}  // namespace morva
