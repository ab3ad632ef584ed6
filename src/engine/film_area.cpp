#include "engine/film_area.h"

#include <algorithm>
#include <cmath>

#include "image/resample.h"
#include "profiles/formats.h"
#include "profiles/peel_sizes.h"

namespace morva {

FilmArea plan_film_area(const Json& film, const Json& opts, int width0, int height0, int width1,
                        int height1) {
  FilmArea area;
  area.is_instant = get_text_or(film, "type", "") == "instant";
  const std::string own_format = get_text_or(film, "format_default", "135");
  area.format_name = get_text_or(opts, "format", own_format);
  const FrameChoice frame = resolve_frame(area.format_name, get_optional_text(opts, "frame_size"));
  area.family = frame.family;
  area.frame_name = frame.name;
  if (frame.name) {
    const FramePlan plan = frame_plan(frame.family, frame.name, width0, height0, width1, height1,
                                      get_text_or(opts, "crop_gate", "full"));
    area.long_um = plan.image_long_um;
    area.cap_um = plan.cap_long_um;
    area.full_gate = plan.full_gate;
  } else {
    area.long_um = area.cap_um = format_long_um(area.format_name, opts);
  }
  if (area.is_instant)
    area.long_um = instant_image_long_um(film, peel_size_name(opts));
  return area;
}

Image fit_master(Image work, const Json& film, const FilmArea& area, const Json& opts) {
  if (!get_bool(opts, "master_cap", true)) return work;
  const int cap_px =
      area.is_instant ? instant_cap_px(film, area.long_um) : master_cap_px(area.cap_um);
  const int long_px = std::max(work.h, work.w);
  if (long_px <= cap_px) return work;
  const double s = static_cast<double>(cap_px) / long_px;
  const int new_h = std::max(1, static_cast<int>(std::nearbyint(work.h * s)));
  const int new_w = std::max(1, static_cast<int>(std::nearbyint(work.w * s)));
  return resize_image(work, new_w, new_h, kResizeLanczos);
}

}  // namespace morva
