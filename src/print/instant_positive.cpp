#include "print/instant_positive.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/emulsion.h"
#include "film/halation.h"
#include "film/layers.h"
#include "film/look.h"
#include "image/filters.h"
#include "print/instant_texture.h"
#include "print/paper.h"
#include "print/peel_texture.h"
#include "print/tone_mottle.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

// The dyes wander sideways on their way to the sheet, and the picture is seen through a sheet that
// scatters: two thirds of the light make a soft picture, the rest a sharp one.
Image soften(Image scene, const Json& film) {
  const double sigma_px = soften_sigma_px(film, scene.h);
  if (sigma_px == 0.0) return scene;
  const Image blurred = blur_image(scene, sigma_px);
  for (std::size_t i = 0; i < scene.data.size(); ++i)
    scene.data[i] = kSharpShare * scene.data[i] + kSoftShare * blurred.data[i];
  return scene;
}

// Every dye absorbs a little of its neighbours' light; the base and its fog stay out of it.
void mix_dyes(Image& density, const std::array<HdCurve, 3>& curves, const std::array<float, 9>& m) {
  const std::array<float, 3> base = layer_fog(curves);
  add_to_layers(density, base, -1.0f);
  mix_rows(density, m);
  add_to_layers(density, base, 1.0f);
}

Image tone_silver(const Image& silver, const std::array<float, 3>& tone) {
  Image positive(silver.h, silver.w, 3);
  float* p = positive.data.data();
  for (const float v : silver.data)
    for (int k = 0; k < 3; ++k) *p++ = v * tone[k];
  return positive;
}

}  // namespace

InstantParams instant_params(const Json& film, const Json& options) {
  InstantParams params;
  const Json& layers = film.at("layers");
  params.curves = {instant_curve(layers.at("r")), instant_curve(layers.at("g")),
                   instant_curve(layers.at("b"))};
  params.ev = exposure_total(options, film);
  if (const Json& crosstalk = get(get(film, "dyes"), "crosstalk"); truthy(crosstalk)) {
    const std::vector<float> m = read_floats(crosstalk, 9, "dyes.crosstalk");
    params.crosstalk.emplace();
    std::copy(m.begin(), m.end(), params.crosstalk->begin());
  }
  params.saturation = get_number(get_object(film, "couplers"), "saturation", 0.0);
  return params;
}

double soften_sigma_px(const Json& film, int height) {
  const double frac = get_number(film, "soften_frac", 0.0);
  return frac > 0.0 ? std::max(0.5, height * std::min(frac, 1.0)) : 0.0;
}

float white_of_sheet(const Json& film, const std::array<HdCurve, 3>& curves) {
  const Json& fresh = get(film, "_dmin_ref");
  if (!truthy(fresh)) {
    const std::array<float, 3> base = layer_fog(curves);
    return std::min({base[0], base[1], base[2]});
  }
  double white = std::numeric_limits<double>::infinity();
  for (const auto& [layer, dmin] : fresh.items()) white = std::min(white, as_number(dmin, layer));
  return static_cast<float>(white);
}

float white_of_silver(const Json& film, const HdCurve& curve) {
  const Json& fresh = get(film, "_dmin_ref");
  return static_cast<float>(truthy(fresh) ? get_number(fresh, "g", curve.dmin) : curve.dmin);
}

std::array<float, 3> image_tone(const Json& film) {
  const Json& value = get(film, "image_tone");
  if (value.is_null()) return {1.0f, 1.0f, 1.0f};
  const std::vector<float> tone = read_floats(value, 3, "image_tone");
  return {tone[0], tone[1], tone[2]};
}

Image add_pack_texture(Image density, const Json& film, const Json& options, double px_um,
                       Rng& rng) {
  const double strength = get_number(options, "grain_mult", 1.0);
  const InstantTexture texture = instant_texture(film, strength, density.h, density.w);
  density = add_instant_texture(std::move(density), texture, rng);
  return add_peel_texture(std::move(density), film, options, px_um, strength);
}

Image silver_sheet(Image density, const HdCurve& curve, const Json& film, const Json& options,
                   Rng& rng) {
  Image silver = density;
  shine_through(silver, white_of_silver(film, curve));
  Image sheet = tone_silver(silver, image_tone(film));
  sheet = tone_mottle(std::move(sheet), density, curve.dmin, curve.dmax, film,
                      get_number(options, "grain_mult", 1.0), rng);
  apply_look(sheet, get_object(film, "look"));
  clamp_to_sheet(sheet);
  return sheet;
}

Image transfer_dyes(Image light, const InstantParams& params) {
  Image density = expose_layers(std::move(light), params.curves, {params.ev, std::nullopt},
                                Development::reversal);
  if (params.crosstalk) mix_dyes(density, params.curves, *params.crosstalk);
  widen_dyes(density, params.saturation, layer_mid(params.curves));
  return density;
}

Image develop_instant(Image scene, const Json& film, const Json& options, double px_um,
                      RenderContext& ctx) {
  Image light = light_in_layers(soften(std::move(scene), film), film, options, px_um);
  check_cancel(ctx);
  const InstantParams params = instant_params(film, options);
  Image sheet = transfer_dyes(std::move(light), params);
  check_cancel(ctx);
  Rng rng = seeded_rng(options, kFilmStream);
  sheet = add_pack_texture(std::move(sheet), film, options, px_um, rng);
  check_cancel(ctx);
  shine_through(sheet, white_of_sheet(film, params.curves));
  apply_look(sheet, get_object(film, "look"));
  clamp_to_sheet(sheet);
  return sheet;
}

Image develop_instant_mono(Image scene, const Json& film, const Json& options, double px_um,
                           RenderContext& ctx) {
  scene = soften(std::move(scene), film);
  const std::array<float, 3> w = panchromatic_weights(film);
  Image light = emulsion_blur(mix_channels(scene, w[0], w[1], w[2]), film, px_um);
  scene = Image();
  const double halation_mult = get_number(options, "halation_mult", 1.0);
  halate(light, light, halation_params(get(film, "halation"), px_um, halation_mult), px_um);
  check_cancel(ctx);

  const HdCurve curve = instant_curve(film.at("layers").at("g"));
  expose_layer(light, 0, curve, exposure_total(options, film), Development::reversal);
  Rng rng = seeded_rng(options, kFilmStream);
  Image density = add_pack_texture(std::move(light), film, options, px_um, rng);
  check_cancel(ctx);
  return silver_sheet(std::move(density), curve, film, options, rng);
}

}  // namespace morva
