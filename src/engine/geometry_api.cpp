// The exports of the crop tool, and the preview of what a render takes in.

#include <algorithm>
#include <cmath>

#include "engine/boundary.h"
#include "flow/options.h"
#include "input/crop_geometry.h"
#include "input/rotate_crop.h"
#include "morva.h"

using namespace morva;

namespace {

// The crop tool draws while a mouse moves and wants an answer to every question. Numbers that have
// no meaning are replaced here, and the others bounded so that no result is infinite.
constexpr double kLargest = 1e9;
constexpr double kLeast = 1e-12;

double bounded(double value, double when_not_finite) {
  return std::isfinite(value) ? std::clamp(value, -kLargest, kLargest) : when_not_finite;
}

Crop crop_of(const double* crop, bool has_crop) {
  if (crop == nullptr || !has_crop) return Crop{};
  double part[4];
  for (int i = 0; i < 4; ++i) {
    if (!std::isfinite(crop[i])) return Crop{};
    part[i] = std::fabs(crop[i]) < kLeast ? 0.0 : bounded(crop[i], 0.0);
  }
  return {part[0], part[1], part[2], part[3]};
}

PixelSize size_of(int32_t w, int32_t h) {
  return {std::max(w, 1), std::max(h, 1)};
}

double angle_of(double angle) {
  return std::isfinite(angle) ? angle : 0.0;
}

// An aspect beyond a million pixels to one is no picture's.
double aspect_of(double aspect) {
  if (!(aspect > 0.0)) return 0.0;
  return std::clamp(aspect, 1e-6, 1e6);
}

int32_t put_crop(const Crop& crop, double out[4]) {
  out[0] = crop.x;
  out[1] = crop.y;
  out[2] = crop.w;
  out[3] = crop.h;
  return MORVA_OK;
}

}  // namespace

extern "C" {

MORVA_API int32_t morva_orient_input(const float* rgb, int32_t width, int32_t height,
                                     const char* options, MorvaImage* out, MorvaError* err) {
  clear(err);
  if (out != nullptr) *out = MorvaImage{};
  if (rgb == nullptr || out == nullptr || width < 1 || height < 1)
    return fail(err, MORVA_BAD_ARGUMENT, "morva_orient_input: пустой вход");
  return guarded(err, options_failure, [&]() -> std::int32_t {
    const Json merged = merged_options(parse_options(options));
    hand_out(upright_source(copy_light_in(rgb, width, height), merged), out);
    return MORVA_OK;
  });
}

MORVA_API int32_t morva_crop_corners(const double crop[4], double angle, int32_t w, int32_t h,
                                     double corners[8]) {
  if (corners == nullptr) return MORVA_BAD_ARGUMENT;
  for (const Point& corner : crop_corners(crop_of(crop, true), angle_of(angle), size_of(w, h))) {
    *corners++ = corner.x;
    *corners++ = corner.y;
  }
  return MORVA_OK;
}

MORVA_API bool morva_crop_fits(const double* crop, int32_t has_crop, double angle, int32_t w,
                               int32_t h, double tolerance_px) {
  return crop_fits(crop_of(crop, has_crop != 0), angle_of(angle), size_of(w, h),
                   bounded(tolerance_px, 0.0));
}

MORVA_API double morva_crop_max_scale(const double* crop, int32_t has_crop, double angle, int32_t w,
                                      int32_t h) {
  return crop_max_scale(crop_of(crop, has_crop != 0), angle_of(angle), size_of(w, h));
}

MORVA_API int32_t morva_crop_scale(const double* crop, int32_t has_crop, double scale, int32_t w,
                                   int32_t h, int32_t min_px, double out[4]) {
  if (out == nullptr) return MORVA_BAD_ARGUMENT;
  return put_crop(
      crop_scaled(crop_of(crop, has_crop != 0), bounded(scale, 1.0), size_of(w, h), min_px), out);
}

MORVA_API int32_t morva_crop_fit_to_angle(const double* crop, int32_t has_crop, double angle,
                                          int32_t w, int32_t h, int32_t allow_grow,
                                          const double* previous, double out[4]) {
  if (out == nullptr) return MORVA_BAD_ARGUMENT;
  const Crop basis = previous != nullptr ? crop_of(previous, true) : crop_of(crop, has_crop != 0);
  return put_crop(crop_fit_to_angle(basis, angle_of(angle), size_of(w, h), allow_grow != 0), out);
}

MORVA_API int32_t morva_crop_expand(const double* crop, int32_t has_crop, int32_t w, int32_t h,
                                    double aspect, double angle, double out[4]) {
  if (out == nullptr) return MORVA_BAD_ARGUMENT;
  return put_crop(crop_expanded(crop_of(crop, has_crop != 0), size_of(w, h), aspect_of(aspect),
                                angle_of(angle)),
                  out);
}

MORVA_API int32_t morva_rot_offsets(double x, double y, double angle, double out[2]) {
  if (out == nullptr) return MORVA_BAD_ARGUMENT;
  const Point turned = straightening(angle_of(angle)).turned({bounded(x, 0.0), bounded(y, 0.0)});
  out[0] = turned.x;
  out[1] = turned.y;
  return MORVA_OK;
}

MORVA_API double morva_straighten_angle(double x1, double y1, double x2, double y2) {
  return straighten_angle({bounded(x1, 0.0), bounded(y1, 0.0)},
                          {bounded(x2, 0.0), bounded(y2, 0.0)});
}

}  // extern "C"
