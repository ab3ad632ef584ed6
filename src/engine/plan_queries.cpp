#include "engine/plan_queries.h"

#include "film/grain.h"
#include "film/growth_grain.h"
#include "finish/instant_card.h"
#include "flow/stock.h"
#include "input/rotate_crop.h"

namespace morva {

int grain_cap_px(double long_um, double reach_um) {
  const auto averages = [&](int n) { return grain_by_moments(long_um / n, reach_um); };
  int averaging = 64;
  int showing = 131072;
  if (!averages(averaging)) return averaging;
  while (averaging + 1 < showing) {
    const int middle = (averaging + showing) / 2;
    (averages(middle) ? averaging : showing) = middle;
  }
  return averaging;
}

FrameCaps frame_caps(const Json& film, const Json& opts, PixelSize source) {
  source = at_least_one(source);
  const FilmArea area = plan_film_area(film, opts, source, upright_size(source, opts).crop);
  FrameCaps caps;
  caps.master = master_cap(film, area, opts).value_or(0);
  if (area.is_instant || !grain_has_raster(area.long_um)) return caps;
  if (const auto reach_um = grown_grain_reach_um(developed_stock(film, opts), opts))
    caps.grain = grain_cap_px(area.long_um, *reach_um);
  return caps;
}

CropAspects crop_aspects(const Json& film, const Json& opts) {
  const double forced = instant_aspect(film, opts);
  if (forced > 0.0) return {forced, forced};
  return {frame_aspect(chosen_frame(film, opts)), 0.0};
}

}  // namespace morva
