#include "film/instant_ageing.h"

#include <algorithm>
#include <string>

#include "image/elementary.h"
#include "profiles/film.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

constexpr std::int64_t kPackTag = 31;

constexpr double kOldestPackYears = 40.0;
constexpr double kCliffYears = 16.0;
constexpr double kCliffSteepness = 0.25;  // per year
constexpr double kCastYears = 9.0;

struct PackAge {
  double years = 0.0;
  double fog = 0.0;   // of the chemistry, 0 .. 1: a logistic about the cliff
  double cast = 0.0;  // of the dyes, 0 .. 1
  bool yellow = false;
};

PackAge age_of_pack(double years, const Json& options) {
  PackAge age;
  age.years = std::min(years, kOldestPackYears);
  age.fog = 1.0 / (1.0 + elementary::exp(-(age.years - kCliffYears) * kCliffSteepness));
  age.cast = 1.0 - elementary::exp(-elementary::pow(age.years / kCastYears, 1.5));
  age.yellow = seeded_rng(options, kFilmStream, kPackTag).uniform() < 0.5;
  return age;
}

// Density that the dried-out pack has where it should have none: yellow is the blue layer's, blue
// the other two's.
double cast_density(int layer, const PackAge& age) {
  const bool blue_layer = layer == 2;
  if (blue_layer != age.yellow) return 0.0;
  return (age.yellow ? 0.33 : 0.231) * age.cast;
}

void age_layer(Json& curve, const PackAge& age, double cast) {
  const double dmin = get_number(curve, "dmin", 0.0);
  const double range = get_number(curve, "dmax", 0.0) - dmin;
  curve["gamma"] = get_number(curve, "gamma", 1.3) * (1.0 - 0.5 * age.fog);
  curve["dmax"] = (1.0 - 0.35 * age.fog) * range + dmin;
  curve["dmin"] = dmin + 0.08 * age.fog * range + cast;
}

void age_layers(Json& film, const PackAge& age) {
  const bool mono = is_mono_instant(film);
  Json fresh_base = Json::object();
  for (int c = 0; c < 3; ++c) {
    if (!has(get_object(film, "layers"), kLayerNames[c])) continue;
    Json& curve = film["layers"][kLayerNames[c]];
    if (!has(curve, "dmin") || !has(curve, "dmax")) continue;  // reading the curve will say so
    fresh_base[kLayerNames[c]] = curve["dmin"];
    age_layer(curve, age, mono ? 0.0 : cast_density(c, age));
  }
  film["_dmin_ref"] = std::move(fresh_base);
}

// Stiff paste spreads in lumps and streaks.
void roughen_spread(Json& film, double factor) {
  scale_mottle(film, factor);
  if (get(get(film, "texture"), "chatter").is_object())
    scale_where_present(film["texture"]["chatter"], {"amp", "paste_amp"}, factor);
}

}  // namespace

Json expire_instant(const Json& film, double years, const Json& options) {
  const PackAge age = age_of_pack(years, options);
  Json aged = film;
  age_layers(aged, age);
  roughen_spread(aged, 1.0 + 3.0 * age.fog);
  aged["_exposure_shift"] = get_number(film, "_exposure_shift", 0.0) - 0.4 * age.cast - age.fog;
  aged["_expired_years"] = age.years;
  aged["_expired_fog"] = age.fog;
  aged["_expired_cast"] = age.cast;
  aged["_expired_pack"] = age.yellow ? "yellow" : "blue";
  return aged;
}

}  // namespace morva
