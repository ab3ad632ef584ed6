#include "flow/film_frame.h"

#include <string>

#include "finish/instant_card.h"
#include "input/rotate_crop.h"
#include "profiles/formats.h"

namespace morva {

namespace {

// A plate never gets the wide rebate.
RebateStyle style_on(const std::string& film_type, const FilmArea& area, const Json& opts) {
  const bool is_plate = film_type == "collodion" || area.family == "plate";
  if (!is_plate || get_text_or(opts, "frame_style", "none") != "wide") return rebate_style(opts);
  Json narrowed = opts;
  narrowed["frame_style"] = "thin";
  return rebate_style(narrowed);
}

RebatePlan plan_rebate(PixelSize picture, const FilmArea& area, const RebateStyle& style,
                       const Json& opts) {
  if (!rebate_follows_format(style, area.family, area.full_gate))
    return plan_rebate_by_fraction(picture.h, picture.w, style);
  const double px_per_mm = long_side(picture) / (area.long_um / 1000.0);
  const double width_ratio = style.width > 0.0 ? style.width / style.preset->frame_frac : 1.0;
  const double format_cm =
      area.frame_name ? frame_cm(*area.frame_name) : get_number_or(opts, "format_120_cm", 6.0, 6.0);
  return plan_rebate_by_format(picture.h, picture.w, area.family, style, px_per_mm, format_cm,
                               width_ratio);
}

}  // namespace

bool fills_instant_opening(const FilmArea& area, const Json& opts) {
  return area.is_instant && get_bool(opts, "instant_frame", true);
}

FilmFrame plan_film_frame(const Json& film, const Json& paper, const Json& opts, PixelSize source) {
  const UprightSize upright = upright_size(source, opts);
  FilmFrame frame;
  frame.area = plan_film_area(film, opts, source, upright.crop);
  frame.master = master_size(upright.turned, master_cap(film, frame.area, opts));
  frame.picture = fills_instant_opening(frame.area, opts)
                      ? instant_opening(film, opts, frame.master)
                      : frame.master;
  frame.rebate.h = frame.picture.h;
  frame.rebate.w = frame.picture.w;
  // Instant film and the screen of a tube have no rebate.
  if (frame.area.is_instant || get_text_or(paper, "repro", "") == "crt") return frame;
  frame.style = style_on(get_text_or(film, "type", ""), frame.area, opts);
  frame.rebate = plan_rebate(frame.picture, frame.area, frame.style, opts);
  return frame;
}

}  // namespace morva
