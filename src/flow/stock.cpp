#include "flow/stock.h"

#include <string>

#include "film/ageing.h"
#include "film/uneven_development.h"
#include "finish/instant_card.h"
#include "flow/sheet_plan.h"
#include "profiles/film.h"
#include "profiles/seeds.h"

namespace morva {

Json developed_stock(const Json& film, const Json& opts) {
  const Json prepared = prepare_film(film, opts);
  const double c41_temp_c = get_number(opts, "c41_temp_c", 30.0);
  const double dev_mottle = get_number(opts, "dev_mottle", 1.0);
  const double dev_temp_c = get_number(opts, "dev_temp_c", 21.0);
  const std::string dev = get_text_or(opts, "dev", "standard");
  const double push = get_number(opts, "push", 0.0);
  return resolve_film(prepared, push, dev, dev_temp_c, dev_mottle, c41_temp_c);
}

Json seeded_stock(const Json& resolved, const Json& film, const FilmArea& area, const Json& opts) {
  Json stock = resolved;
  if (truthy(get(resolved, "dryplate")))
    stock["_dry_seed"] = stream_key(opts, kFilmStream, kDryPlateTag);
  if (get_text_or(film, "type", "") == "collodion")
    stock["_plate_seed"] = stream_key(opts, kFilmStream, kCollodionTag);
  if (area.is_instant) instant_seeds(stock, film, opts);
  return stock;
}

std::optional<Image> uneven_development(const Json& film, const FilmFrame& frame, PixelSize size,
                                        const Json& opts) {
  const FilmArea& area = frame.area;
  const double strength = get_number(opts, "dev_uneven", 0.0);
  if (strength <= 0.0001 || area.is_instant || get_text_or(film, "type", "") == "collodion")
    return std::nullopt;
  const std::string size_name = !area.frame_name             ? area.format_name
                                : *area.frame_name == "half" ? "half"
                                                             : area.family;
  Rng rng = seeded_rng(opts, kDevelopStream);
  return uneven_field(size.w, size.h, frame.um_per_px(), size_name, strength, rng);
}

void note_film_scale(Json& opts, const Json& paper, const FilmFrame& frame) {
  opts["_format_long_um"] = frame.area.long_um;
  opts["_growth_seed"] = stream_key(opts, kFilmStream);
  update_print_scale(opts, paper, frame);
}

}  // namespace morva
