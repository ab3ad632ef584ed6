// The crop tool's geometry. A crop is a rectangle on the straightened picture, in fractions of the
// picture's sides; straightening turns the picture about its centre under it, by an angle in
// degrees. These functions answer in sizes alone and touch no pixel.
#pragma once

#include <array>

#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

struct Crop {  // fractions of the picture; those outside 0..1 lie outside the picture
  double x = 0.0;
  double y = 0.0;
  double w = 1.0;
  double h = 1.0;
};

struct PixelRect {  // x0 <= x < x1, y0 <= y < y1
  int x0 = 0;
  int y0 = 0;
  int x1 = 0;
  int y1 = 0;

  int w() const { return x1 - x0; }
  int h() const { return y1 - y0; }
};

struct Point {
  double x = 0.0;
  double y = 0.0;
};

// A turn about the origin, y pointing down: a point of the straightened picture to where it lies in
// the source.
struct Straightening {
  double cosine = 1.0;
  double sine = 0.0;

  Point turned(Point p) const { return {p.x * cosine + p.y * sine, p.y * cosine - p.x * sine}; }
};

// An angle too small to be seen, or none at all.
bool is_straight(double angle);

// Of an angle in degrees.
Straightening straightening(double angle);

// The whole pixels of the option `crop`, four fractions x, y, w, h; at least one pixel, all within
// the picture. Throws std::invalid_argument unless `value` is an array of four, OptionsError for
// one that is not a number.
PixelRect crop_pixels(const Json& value, PixelSize picture);

// Where the crop's corners lie in the source, in pixels: top left, top right, bottom right, bottom
// left.
std::array<Point, 4> crop_corners(const Crop& crop, double angle, PixelSize picture);

// Whether all of them lie within the picture, or no further outside than `tolerance_px`.
bool crop_fits(const Crop& crop, double angle, PixelSize picture, double tolerance_px);

// The largest factor by which the crop can grow about its centre with every corner in the picture;
// 0 when its centre lies outside, 1 for a crop without size.
double crop_max_scale(const Crop& crop, double angle, PixelSize picture);

// The crop `scale` times as large about its centre, its short side at least `min_px`.
Crop crop_scaled(const Crop& crop, double scale, PixelSize picture, double min_px);

// The crop made to fit at `angle`: scaled to what fits, and grown only when `allow_grow`. It stays
// at 64 pixels or more, even where that does not fit.
Crop crop_fit_to_angle(const Crop& crop, double angle, PixelSize picture, bool allow_grow);

// The largest crop of an aspect (width over height, pixels) about the present one's centre. An
// aspect of 0 or less means the crop's own, and the picture's where the crop has no area.
Crop crop_expanded(const Crop& crop, PixelSize picture, double aspect, double angle);

// The smallest turn, -45..45 degrees, that makes the line (x1, y1) to (x2, y2) level or plumb.
double straighten_angle(Point from, Point to);

}  // namespace morva
