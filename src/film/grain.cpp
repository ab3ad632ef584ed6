#include "film/grain.h"

#include <string>
#include <utility>

#include "film/classic_grain.h"
#include "film/growth_grain.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

NormalSource film_normals(const Json& options, std::optional<std::int64_t> plate = std::nullopt) {
  return [rng = seeded_rng(options, kFilmStream, plate)](std::size_t n) mutable {
    return rng.normals(n);
  };
}

bool is_silver(const Json& film) {
  const std::string type = get_text_or(film, "type", "");
  return type == "bw" || type == "collodion" || type == "tricolor";
}

}  // namespace

GrainSettings grain_settings(const Json& film, const Json& options) {
  GrainSettings settings;
  settings.record = get_object(film, "grain");
  const Json& amount_rms = get(settings.record, "amount_rms");
  if (get_bool(options, "grain_rms", false) && !amount_rms.is_null()) {
    settings.record["amount"] = Json(amount_rms);
  }
  settings.mult = get_number(options, "grain_mult", 1.0);
  settings.size_mult = get_number(options, "grain_size_mult", 1.0);
  return settings;
}

double film_long_um(const Json& options) {
  return get_number(options, "_format_long_um", 0.0);
}

std::optional<double> grown_grain_reach_um(const Json& film, const Json& options) {
  if (get_text_or(options, "grain_engine", "") != "growth") return std::nullopt;
  const GrainSettings s = grain_settings(film, options);
  return is_silver(film) ? silver_grain_reach_um(s.record, s.mult, s.size_mult)
                         : dye_grain_reach_um(s.record, s.mult, s.size_mult);
}

std::optional<GrainCell> grain_cell(const Json& film, const Json& options, double um_per_px) {
  const GrainSettings s = grain_settings(film, options);
  const bool silver = is_silver(film);
  if (get_text_or(options, "grain_engine", "") == "growth") {
    const auto reach_um = grown_grain_reach_um(film, options);
    if (!reach_um) return std::nullopt;
    const double clump_um = silver ? silver_clump_um(s.record) : dye_clump_um(s.record);
    return GrainCell{clump_um * s.size_mult, !grain_by_moments(um_per_px, *reach_um)};
  }
  constexpr std::array<double, 3> dmin = {0.0, 0.0, 0.0}, dmax = {1.0, 1.0, 1.0};
  const bool none =
      silver ? grain_layers_bw(0.0, 1.0, s.record, um_per_px, s.size_mult, s.mult).empty()
             : grain_layers_color(dmin, dmax, s.record, um_per_px, s.size_mult, s.mult).empty();
  if (none) return std::nullopt;
  const double size_um =
      (silver ? silver_noise_um(s.record) : dye_noise_um(s.record)) * s.size_mult;
  return GrainCell{size_um, size_um >= kFinestSigmaPx * um_per_px};
}

bool grain_engine_is_growth(const Json& options) {
  return get_text_or(options, "grain_engine", "") == "growth" &&
         truthy(get(options, "_format_long_um"));
}

Key growth_key(const Json& film, const Json& options) {
  const Json& of_options = get(options, "_growth_seed");
  const Json& words = truthy(of_options) ? of_options : get(film, "_growth_seed");
  if (!truthy(words) || !words.is_array()) return seed_key(options);
  return listed_key(words, "_growth_seed");
}

Image add_grain(Image density, const Json& film, const Json& options, double px_um,
                const HdCurve& curve, const RenderContext& ctx, std::optional<std::int64_t> plate) {
  const GrainSettings s = grain_settings(film, options);
  if (!grain_engine_is_growth(options))
    return add_grain_bw(std::move(density), curve.dmin, curve.dmax, s.record, px_um, s.size_mult,
                        s.mult, film_normals(options, plate));
  Key key = growth_key(film, options);
  if (plate) key.push_back(*plate);
  return add_grain_growth_bw(std::move(density), curve.dmin, curve.dmax, film_long_um(options), key,
                             s.record, s.mult, s.size_mult, ctx);
}

Image add_grain(Image density, const Json& film, const Json& options, double px_um,
                const std::array<HdCurve, 3>& curves, const RenderContext& ctx) {
  const GrainSettings s = grain_settings(film, options);
  const std::array<double, 3> dmin = {curves[0].dmin, curves[1].dmin, curves[2].dmin};
  const std::array<double, 3> dmax = {curves[0].dmax, curves[1].dmax, curves[2].dmax};
  if (grain_engine_is_growth(options))
    return add_grain_growth_color(std::move(density), dmin, dmax, film_long_um(options),
                                  growth_key(film, options), s.record, s.mult, s.size_mult, ctx);
  return add_grain_color(std::move(density), dmin, dmax, s.record, px_um, s.size_mult, s.mult,
                         film_normals(options));
}

}  // namespace morva
