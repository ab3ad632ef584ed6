#include "profiles/film.h"

#include <algorithm>
#include <cmath>

#include "image/elementary.h"
#include "profiles/development_presets.h"
#include "profiles/hd_curve.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

// The machine bath runs at 37.8 C; a hand tank cools, and at 30 C the "hand" preset is as tabled.
constexpr double kMachineBathC = 37.8;
constexpr double kHandBathDropC = 7.799999999999997;
constexpr double kCoolestBath = 2.538461538461539;

bool has_one_silver_layer(const std::string& type) {
  return type == "bw" || type == "tricolor" || type == "collodion";
}

std::string preset_name(const std::string& type, const std::string& dev) {
  if (type == "instant" || type == "slide") return "standard";
  if (type == "collodion" && dev == "standard") return "iron";
  return dev;
}

// A cooler hand bath slows the lower layers, fogs and coarsens: the preset's effect to the power of
// the bath's drop in temperature.
Json hand_preset_at(const Json& preset, double c41_temp_c) {
  const double t = std::clamp((kMachineBathC - c41_temp_c) / kHandBathDropC, 0.0, kCoolestBath);
  Json cooled = preset;
  for (const char* layer : kLayerNames)
    cooled["layer_gamma"][layer] = elementary::pow(preset["layer_gamma"][layer].get<double>(), t);
  cooled["fog"] = preset["fog"].get<double>() * t;
  cooled["grain_amount"] = (preset["grain_amount"].get<double>() - 1.0) * t + 1.0;
  return cooled;
}

// Push raises the slope by 13 % a stop; a slide, whose push is exposure, loses maximum density
// instead of gaining it.
void develop_curves(Json& film, const std::string& type, const Json& preset, double push) {
  const double push_pos = std::max(push, 0.0);
  const bool slide = type == "slide";
  const double g_push = 1.0 + 0.13 * push;
  const double d_push = slide ? 1.0 - 0.05 * push : 1.0 + 0.06 * push;
  const double fog = get_number(preset, "fog", 0.0) + (slide ? 0.01 : 0.035) * push_pos;
  const double gamma_mult = std::max(0.3, get_number(preset, "gamma", 1.0) * g_push);
  const double dmax_mult = std::max(0.4, get_number(preset, "dmax", 1.0) * d_push);
  const double mid_mult = std::max(0.3, g_push);
  if (has_one_silver_layer(type)) {
    apply_curve_factors(film.at("negative"), gamma_mult, dmax_mult, fog, mid_mult, "negative");
    return;
  }
  Json& layers = film.at("layers");
  const Json& layer_gamma = get_object(preset, "layer_gamma");
  for (const char* layer : kLayerNames)
    apply_curve_factors(layers.at(layer), get_number(layer_gamma, layer, 1.0) * gamma_mult,
                        dmax_mult, fog, slide ? 1.0 : mid_mult, "layer");
}

void develop_grain(Json& film, const Json& preset, double push) {
  if (!get(film, "grain").is_object()) film["grain"] = Json::object();
  Json& grain = film["grain"];
  grain["amount"] = get_number(grain, "amount", 0.08) * get_number(preset, "grain_amount", 1.0) *
                    (1.0 + 0.22 * std::max(push, 0.0));
  grain["size_um"] = get_number(grain, "size_um", 5.0) * get_number(preset, "grain_size", 1.0);
}

void carry_silver_and_edge_effect(Json& film, const Json& preset) {
  if (const Json& silver = get(preset, "retained_silver"); truthy(silver))
    film["_retained_silver"] = silver;
  if (const Json& tint = get(preset, "silver_tint"); truthy(tint)) film["_silver_tint"] = tint;
  if (const Json& sat = get(preset, "adjacency_sat"); truthy(sat)) film["_adjacency_sat"] = sat;
}

Json& texture_of(Json& film) {
  if (!get(film, "texture").is_object()) film["texture"] = Json::object();
  return film["texture"];
}

// The pack's chemistry runs with the weather: cold flattens it and starves the blue layer most, and
// both extremes roughen the spread of the paste.
void develop_pack_at(Json& film, double dev_temp_c) {
  double t =
      std::clamp((dev_temp_c - 21.0) / 17.0, -1.0, 1.0) * get_number(film, "temp_sensitivity", 1.0);
  if (t > 0.0) t *= 0.75;
  if (std::fabs(t) <= 1e-9) return;
  const bool mono = is_mono_instant(film);
  constexpr double layer_loss[] = {0.03, 0.09, 0.20};
  for (int c = 0; c < 3; ++c) {
    const double w = mono ? 0.1 : layer_loss[c];
    apply_curve_factors(film.at("layers").at(kLayerNames[c]), 1.0 + 0.3 * t, 1.0 + (w + 0.14) * t,
                        0.0, 1.0, "layer");
  }
  const double cold = std::max(-t, 0.0);
  const double warm = std::max(t, 0.0);
  const double roughness = 1.0 + 0.9 * cold + 0.25 * warm;
  Json& texture = texture_of(film);
  scale_where_present(texture, {"mottle_amp", "streaks_amp"}, roughness);
  scale_where_present(texture, {"fine_amp"}, 1.0 + 0.3 * cold);
  film["_temp_rough"] = roughness;
}

void mottle_pack(Json& film, double dev_mottle) {
  film["_dev_mottle"] = dev_mottle;
  if (std::fabs(dev_mottle - 1.0) <= 1e-6) return;
  texture_of(film);
  scale_mottle(film, dev_mottle);
}

}  // namespace

Json resolve_film(const Json& film, double push, const std::string& dev, double dev_temp_c,
                  double dev_mottle, double c41_temp_c) {
  const std::string type = get_text_or(film, "type", "");
  if (type == "instant") push = 0.0;
  const std::string chosen = preset_name(type, dev);
  Json preset = development_preset(type, chosen);
  if (type == "color" && chosen == "hand") preset = hand_preset_at(preset, c41_temp_c);

  Json resolved = film;
  develop_curves(resolved, type, preset, push);
  carry_silver_and_edge_effect(resolved, preset);
  develop_grain(resolved, preset, push);
  if (type == "instant") {
    develop_pack_at(resolved, dev_temp_c);
    mottle_pack(resolved, dev_mottle);
  }
  resolved["_exposure_shift"] =
      get_number(resolved, "_exposure_shift", 0.0) + (type == "slide" ? push : 0.0);
  resolved["_adjacency"] = get_number(preset, "adjacency", 0.0);
  resolved["_adjacency_um"] = get_number(preset, "adjacency_um", 150.0);
  return resolved;
}

std::string default_positive(const Json& film) {
  const std::string type = get_text_or(film, "type", "");
  if (type == "collodion") return "ambrotype";
  if (type == "tricolor") return "scan_film";
  if (type == "bw") return "bw_neutral";
  return "color_scan";
}

double exposure_total(const Json& options, const Json& film) {
  return get_number(options, "ev", 0.0) + get_number(film, "_exposure_shift", 0.0);
}

double film_illuminant_k(const Json& film) {
  return get_number(get_object(film, "balance"), "illuminant_K", 5500.0);
}

std::array<float, 3> panchromatic_weights(const Json& film) {
  return normalised_weights(get(film, "spectral_weights"), {0.3, 0.36, 0.34}, "spectral_weights");
}

bool is_mono_instant(const Json& film) {
  return get_text_or(film, "type", "") == "instant" && !get(film, "spectral_weights").is_null();
}

void scale_where_present(Json& record, std::initializer_list<const char*> keys, double factor) {
  for (const char* key : keys)
    if (has(record, key)) record[key] = as_number(record[key], key) * factor;
}

void scale_mottle(Json& film, double factor) {
  if (get(film, "texture").is_object())
    scale_where_present(film["texture"], {"mottle_amp", "fine_amp", "streaks_amp"}, factor);
  if (!truthy(get(film, "tone_mottle"))) return;
  Json& tone_mottle = film["tone_mottle"];
  if (!tone_mottle.is_object()) tone_mottle = Json::object();
  tone_mottle["amp"] = get_number(tone_mottle, "amp", 0.0) * factor;
}

}  // namespace morva
