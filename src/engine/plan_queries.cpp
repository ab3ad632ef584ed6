#include "engine/plan_queries.h"

#include "engine/flow.h"
#include "film/grain.h"
#include "film/growth_grain.h"
#include "finish/instant_card.h"
#include "input/crop_geometry.h"

namespace morva {

namespace {

PixelSize cropped_size(const Json& opts, PixelSize source) {
  const Json& crop = get(opts, "crop");
  if (!truthy(crop) || source.w < 1 || source.h < 1) return source;
  const PixelRect rect = crop_pixels(crop, source);
  return {rect.w(), rect.h()};
}

}  // namespace

int grain_cap_px(double long_um, double reach_um) {
  const auto averages = [&](int n) { return grain_by_moments(long_um / n, reach_um); };
  int good = 64;
  int bad = 131072;
  if (!averages(good)) return good;
  while (good + 1 < bad) {
    const int middle = (good + bad) / 2;
    (averages(middle) ? good : bad) = middle;
  }
  return good;
}

FrameCaps frame_caps(const Json& film, const Json& opts, PixelSize source) {
  const FilmArea area = plan_film_area(film, opts, source, cropped_size(opts, source));
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
