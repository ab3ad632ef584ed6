#include "film/ageing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "film/instant_ageing.h"
#include "image/elementary.h"
#include "profiles/film.h"
#include "profiles/hd_curve.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

// Light that comes through the base meets the red layer first and the yellow filter last: each
// layer sees what those before it let pass, in stops.
constexpr double kThroughBaseEv[] = {-1.7, -3.5, -5.7};

constexpr double kMostFog = 0.55;                     // of the density range
constexpr double kFogPerYear = 0.0095;                // 1 / 105 years, at middling speed
constexpr double kStopsLostByFog = 8.0;               // speed lost with the whole range fogged
constexpr double kLayerFogRate[] = {0.75, 1.0, 1.5};  // the topmost, blue layer is least protected
constexpr double kBlueSensitivity[] = {0.05, 0.25, 0.7};  // of silver whose dye has faded

double fog_after(double years, double layer_rate) {
  return (1.0 - elementary::exp(-kFogPerYear * years * layer_rate)) * kMostFog;
}

void expose_through_base(Json& film) {
  film["_layer_ev"] = kThroughBaseEv;
  Json& halation = film["halation"];
  if (!halation.is_object()) halation = Json::object();
  halation["strength"] = 2.0 * get_number(halation, "strength", 0.08);
  film["_redscale"] = true;
}

// Sensitising dyes fade before the silver does, and what is left sees blue.
void fade_sensitising_dyes(Json& film, double fog) {
  const std::array<double, 3> present =
      three_numbers(get(film, "spectral_weights"), "spectral_weights")
          .value_or(std::array{0.3, 0.36, 0.34});
  double sum = present[0] + present[1] + present[2];
  if (sum == 0.0) sum = 1.0;
  Json weights = Json::array();
  for (int c = 0; c < 3; ++c)
    weights.push_back((1.0 - 0.5 * fog) * present[c] / sum + 0.5 * fog * kBlueSensitivity[c]);
  film["spectral_weights"] = std::move(weights);
}

// Reversal turns fog over: what fogs a slide is density it can no longer reach.
Json fog_slide_curve(const Json& curve, double fog) {
  const double dmin = get_number(curve, "dmin", 0.0);
  const double dmax = get_number(curve, "dmax", 0.0);
  return recurve(curve, dmin + 0.1 * fog * (dmax - dmin), dmax - (dmax - dmin) * fog, fog,
                 kGreyDensity, 1.2);
}

void fog_layers(Json& film, double years, bool slide) {
  for (int c = 0; c < 3; ++c) {
    const Json& layers = get_object(film, "layers");
    if (!has(layers, kLayerNames[c])) continue;
    const Json& layer = layers[kLayerNames[c]];
    const double fog = fog_after(years, kLayerFogRate[c]);
    Json fogged = slide ? fog_slide_curve(layer, fog) : fog_curve(layer, fog, 0.85, 1.5);
    film["layers"][kLayerNames[c]] = std::move(fogged);
  }
}

// Fog is developed grain too: its granularity adds as noise does, by powers.
void coarsen_grain(Json& film, double factor) {
  if (!truthy(get(film, "grain"))) return;
  for (const char* key : {"amount", "amount_rms"})
    if (const Json& amount = get(film["grain"], key); !amount.is_null())
      film["grain"][key] = as_number(amount, key) * factor;
}

struct ReferenceCurve {
  double range = 0.0;
  double mid = 0.0;
};

ReferenceCurve reference_curve(const Json& film, const std::string& type) {
  const Json& curve =
      type == "bw" ? get_object(film, "negative") : get_object(get_object(film, "layers"), "g");
  const double dmax = get_number(curve, "dmax", 2.1);
  const double dmin = get_number(curve, "dmin", 0.1);
  const double mid = type == "slide" ? kGreyDensity : type == "bw" ? 0.95 : 0.85;
  return {std::max(dmax - dmin, 1e-6),
          std::max(get_number_or(curve, "mid_density", mid, mid), 0.1)};
}

void expire(Json& film, const std::string& type, double years) {
  const double film_years = std::max(age_rate(film) * years, 0.0);
  const ReferenceCurve reference = reference_curve(film, type);
  const double fog = fog_after(film_years, 1.0);
  if (type == "bw") {
    if (truthy(get(film, "negative")))
      film["negative"] = fog_curve(film["negative"], fog, 0.95, 1.6);
    fade_sensitising_dyes(film, fog);
  } else {
    fog_layers(film, film_years, type == "slide");
  }
  coarsen_grain(film, std::sqrt(fog * reference.range / reference.mid + 1.0));
  film["_exposure_shift"] = get_number(film, "_exposure_shift", 0.0) - kStopsLostByFog * fog;
  film["_expired_years"] = years;
  film["_expired_fog"] = fog;
}

double expired_years(const Json& film, const std::string& type, const Json& options) {
  const bool ages = type == "color" || type == "bw" || type == "slide" || type == "instant";
  if (!ages || truthy(get(film, "dryplate"))) return 0.0;
  const double years = get_number_or(options, "expired_years", 0.0, 0.0);
  return years > 0.0 ? years : 0.0;
}

}  // namespace

Json prepare_film(const Json& film, const Json& options) {
  const std::string type = get_text_or(film, "type", "");
  const double years = expired_years(film, type, options);
  const bool redscale = truthy(get(options, "redscale")) && type == "color";
  if (years > 0.0 && type == "instant") return expire_instant(film, years, options);

  Json prepared = film;
  if (redscale) expose_through_base(prepared);
  if (years > 0.0) expire(prepared, type, years);
  return prepared;
}

double age_rate(const Json& film) {
  const double size_um = get_number_or(get_object(film, "grain"), "size_um", 0.0, 0.0);
  if (!(size_um > 0.0)) return 1.0;
  const std::string type = get_text_or(film, "type", "");
  const double middling_um = type == "bw"      ? 7.6
                             : type == "color" ? 6.4
                             : type == "slide" ? 5.6
                                               : 7.0;
  return std::clamp(size_um / middling_um, 0.5, 2.8);
}

Json recurve(const Json& curve, double new_dmin, double new_dmax, double fog, double mid_default,
             double toe_default) {
  if (!has(curve, "dmin") || !has(curve, "dmax")) return curve;
  const double range =
      std::max(get_number(curve, "dmax", 0.0) - get_number(curve, "dmin", 0.0), 1e-6);
  const double ratio = std::max(range * 0.05, new_dmax - new_dmin) / range;
  Json aged = curve;
  aged["dmin"] = new_dmin;
  aged["dmax"] = new_dmax;
  aged["gamma"] = get_number(curve, "gamma", 0.6) * ratio;
  aged["mid_density"] = get_number(curve, "mid_density", mid_default) * ratio;
  aged["toe"] = get_number(curve, "toe", toe_default) * (1.0 + 0.4 * fog);
  return aged;
}

Json fog_curve(const Json& curve, double fog, double mid_default, double toe_default) {
  const double dmin = get_number(curve, "dmin", 0.0);
  const double dmax = get_number(curve, "dmax", 0.0);
  return recurve(curve, (dmax - dmin) * fog + dmin, dmax, fog, mid_default, toe_default);
}

}  // namespace morva
