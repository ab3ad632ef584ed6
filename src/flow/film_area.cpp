#include "flow/film_area.h"

#include <algorithm>
#include <cmath>

#include "profiles/peel_sizes.h"

namespace morva {

namespace {

std::string format_of(const Json& film, const Json& opts) {
  return get_text_or(opts, "format", get_text_or(film, "format_default", "135"));
}

}  // namespace

FrameChoice chosen_frame(const Json& film, const Json& opts) {
  return resolve_frame(format_of(film, opts), get_optional_text(opts, "frame_size"));
}

FilmArea plan_film_area(const Json& film, const Json& opts, PixelSize source, PixelSize crop) {
  FilmArea area;
  area.is_instant = get_text_or(film, "type", "") == "instant";
  area.format_name = format_of(film, opts);
  const FrameChoice frame = chosen_frame(film, opts);
  area.family = frame.family;
  area.frame_name = frame.name;
  if (frame.name) {
    const FramePlan plan = frame_plan(frame.family, frame.name, source.w, source.h, crop.w, crop.h,
                                      get_text_or(opts, "crop_gate", "full"));
    area.long_um = plan.image_long_um;
    area.cap_um = plan.cap_long_um;
    area.full_gate = plan.full_gate;
    area.gate_um = plan.long_mm * 1000.0;
  } else {
    area.long_um = area.cap_um = area.gate_um = format_long_um(area.format_name, opts);
  }
  if (area.is_instant)
    area.long_um = area.gate_um = instant_image_long_um(film, peel_size_name(opts));
  return area;
}

std::optional<int> master_cap(const Json& film, const FilmArea& area, const Json& opts) {
  if (!get_bool(opts, "master_cap", true)) return std::nullopt;
  return area.is_instant ? instant_cap_px(film, area.long_um) : master_cap_px(area.cap_um);
}

PixelSize master_size(PixelSize picture, std::optional<int> cap_px) {
  if (!cap_px || long_side(picture) <= *cap_px) return picture;
  const double s = static_cast<double>(*cap_px) / long_side(picture);
  const auto reduced = [s](int side) {
    return std::max(1, static_cast<int>(std::nearbyint(side * s)));
  };
  return {reduced(picture.w), reduced(picture.h)};
}

}  // namespace morva
