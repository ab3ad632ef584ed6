// The picture on its piece of film: every size from the source to the canvas with its rebate,
// decided before a pixel is touched. A render and whoever only asks measure by these.
#pragma once

#include "finish/rebate_plan.h"
#include "finish/rebate_style.h"
#include "flow/film_area.h"
#include "image/pixel_size.h"
#include "profiles/json_access.h"

namespace morva {

struct FilmFrame {
  FilmArea area;
  PixelSize master;   // the source upright, no finer than the film
  PixelSize picture;  // what the opening of an instant card leaves of it
  RebateStyle style;
  RebatePlan rebate;  // the picture alone where it has no canvas

  PixelSize film() const { return {rebate.w, rebate.h}; }
  int pic_long() const { return long_side(picture); }
  int film_long() const { return long_side(film()); }
  // As if the canvas filled the length that the picture takes on the film: a rebate makes a pixel
  // smaller there.
  double um_per_px() const { return area.long_um / film_long(); }
};

// `film` and `paper` are profiles as stored, `source` what the host hands in, at least 1 x 1.
// Throws as the options' getters, crop_pixels and the rebate's plans do.
FilmFrame plan_film_frame(const Json& film, const Json& paper, const Json& opts, PixelSize source);

// Whether the picture is cut to the opening of an instant card.
bool fills_instant_opening(const FilmArea& area, const Json& opts);

}  // namespace morva
