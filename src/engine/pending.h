// Stages of the flow whose models have not landed: each hands its picture on unchanged, at the
// place in the order where it will stand.
#pragma once

#include <array>
#include <optional>
#include <utility>

#include "finish/rebate_style.h"
#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// Instant film: the card's opening, the pack's own seeds, the finished card.
inline Image instant_opening_crop(Image work, const Json&, const Json&) {
  return work;
}
inline void instant_seeds(Json&, const Json&, const Json&) {}
inline Image instant_finish(Image print, const Json&, const Json&, const Json&) {
  return print;
}

// Film rebate: the picture on a larger canvas of unexposed film.
struct Rebate {
  Image work;
  std::optional<Image> mask;                 // one channel, 1 inside the gate
  std::array<int, 4> insets = {0, 0, 0, 0};  // of the picture: top, bottom, left, right, pixels
};
inline Rebate format_rebate(Image work, const std::string&, const RebateStyle&, Rng&, double,
                            double, double) {
  return {std::move(work), std::nullopt};
}
inline Rebate plain_rebate(Image work, const RebateStyle&, Rng&) {
  return {std::move(work), std::nullopt};
}

// Uneven development.
inline std::optional<Image> uneven_field(int /*width*/, int /*height*/, double, const std::string&,
                                         double, Rng&) {
  return std::nullopt;
}

// Positives and plates.
inline Image develop_slide(Image work) {
  return work;
}
inline Image print_reversal(Image work) {
  return work;
}
inline Image develop_instant(Image work) {
  return work;
}
inline Image develop_tricolor(Image work) {
  return work;
}
inline Image view_plate(Image work) {
  return work;
}
inline Image scan_positive(Image print, const Json&, const Json&) {
  return print;
}
inline Image scan_finish(Image print, const Json&) {
  return print;
}

// Alternative processes and reproduction.
inline Image print_process(Image work, const Image* /*mask*/) {
  return work;
}
// A printing run takes one ink or three and always gives three channels.
inline Image apply_repro(Image print, const Json&, const Json&, Rng&, double) {
  if (print.c == 3) return print;
  Image sheet(print.h, print.w, 3);
  for (int k = 0; k < 3; ++k) store_channel(sheet, k, print);
  return sheet;
}
inline Image apply_surface(Image print, const Json&, const Json&, Rng&, double) {
  return print;
}
inline std::optional<double> crt_image_cm(const Json&, const Json&) {
  return std::nullopt;
}
inline std::array<float, 3> paper_base_rgb(const Json&, const Json&) {
  return {1.0f, 1.0f, 1.0f};
}
inline std::optional<double> plate_mark_px(const Json&, const Json&, double, double) {
  return std::nullopt;
}
inline Image press_plate_mark(Image print, const Json&, const Json&) {
  return print;
}

// What lies around the sheet.
inline Image apply_mat(Image sheet, Json&) {
  return sheet;
}
inline Image apply_stamps(Image sheet, const Json&) {
  return sheet;
}
inline Image apply_table(Image sheet, const Json&, double, Rng&, const Image*) {
  return sheet;
}

}  // namespace morva
