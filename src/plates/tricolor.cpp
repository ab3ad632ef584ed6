#include "plates/tricolor.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "film/emulsion.h"
#include "film/grain.h"
#include "film/layers.h"
#include "film/uneven_development.h"
#include "optics/lens.h"
#include "plates/registration.h"
#include "print/paper.h"
#include "profiles/film.h"
#include "profiles/number_arrays.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

constexpr std::array<const char*, 3> kPlates = {"r", "g", "b"};

std::array<float, 3> plate_filter(const Json& tricolor, const char* plate) {
  const std::vector<float> w = read_floats(get(get_object(tricolor, "filters"), plate), 3,
                                           std::string("tricolor.filters.") + plate);
  const float sum = std::max((w[0] + w[1]) + w[2], 1e-9f);
  return {w[0] / sum, w[1] / sum, w[2] / sum};
}

HdCurve positive_curve(const Json& record) {
  return make_curve(get_number(record, "dmin", 0.05), get_number(record, "dmax", 2.8),
                    get_number(record, "gamma", 1.6), get_number(record, "toe", 1.3),
                    get_number(record, "mid_density", 0.9));
}

// One plate from the light of the scene to its negative: density with base and fog.
Image take_plate(Image light, int plate, const TricolorParams& params, const Json& film,
                 const Json& options, double px_um, const Image* uneven, RenderContext& ctx) {
  halate(light, light, params.halation, px_um);
  expose_layer(light, 0, params.negative, params.plates[plate].ev, Development::negative);
  Image density = std::move(light);
  const auto fog = static_cast<float>(params.negative.dmin);
  if (uneven != nullptr)
    density = apply_uneven(std::move(density), {fog, fog, fog}, *uneven, {1.0f, 1.0f, 1.0f}, 1.0f);
  density = adjacency(std::move(density), film, px_um);
  return add_grain(std::move(density), film, options, px_um, params.negative, ctx, plate);
}

// The negative in contact with a second plate, which becomes the positive: the light that it lets
// pass, clear glass being 1.
void print_in_contact(Image& plate, const TricolorParams& params) {
  expose_in_contact(plate, params);
  shine_through(plate, static_cast<float>(params.positive.dmin));
}

// The lanterns' lenses, which know no other faults than these.
Json lantern_lens(const Json& tricolor) {
  Json lens = Json::object();
  for (const char* key : {"vignette", "vignette_power", "soften", "soften_mix", "cast"})
    if (has(tricolor, key)) lens[key] = get(tricolor, key);
  return lens;
}

}  // namespace

TricolorParams tricolor_params(const Json& film, const Json& options, double px_um) {
  const Json& tricolor = get_object(film, "tricolor");
  const Json& plate_ev = get_object(tricolor, "plate_ev");
  const double ev = exposure_total(options, film);
  TricolorParams params;
  for (int p = 0; p < 3; ++p) {
    params.plates[p].filter = plate_filter(tricolor, kPlates[p]);
    params.plates[p].ev = ev + get_number(plate_ev, kPlates[p], 0.0);
  }
  params.ev_jitter = get_number(tricolor, "ev_jitter", 0.0);
  params.halation =
      halation_params(get(film, "halation"), px_um, get_number(options, "halation_mult", 1.0));
  params.negative = negative_curve(get_object(film, "negative"));
  params.positive = positive_curve(truthy(get(tricolor, "positive")) ? get(tricolor, "positive")
                                                                     : get(film, "positive"));
  if (const auto colours = nine_numbers(get(tricolor, "projection"), "projection"))
    params.projection = nine_floats(*colours);
  return params;
}

void expose_in_contact(Image& plate, const TricolorParams& params) {
  const auto mid = static_cast<float>(params.negative.dmid);
  for (float& density : plate.data) density = mid - density;
  params.positive.density(plate.data.data(), plate.data.data(), plate.data.size());
}

void jitter_exposures(TricolorParams& params, Rng& rng) {
  if (!(params.ev_jitter > 0.0)) return;
  for (SeparationParams& plate : params.plates) plate.ev += params.ev_jitter * rng.normal();
}

Image develop_tricolor(Image scene, const Json& film, const Json& options, double px_um,
                       const Image* uneven, RenderContext& ctx) {
  const Json& tricolor = get_object(film, "tricolor");
  scene = emulsion_blur(std::move(scene), film, px_um);
  Rng rng = seeded_rng(options, kFilmStream);
  TricolorParams params = tricolor_params(film, options, px_um);
  jitter_exposures(params, rng);
  const std::array<PlateWarp, 3> warps =
      registration_plan(tricolor, options, scene.w, scene.h, px_um, rng);

  Image screen(scene.h, scene.w, 3);
  for (int p = 0; p < 3; ++p) {
    check_cancel(ctx);
    const std::array<float, 3>& filter = params.plates[p].filter;
    Image plate = mix_channels(scene, filter[0], filter[1], filter[2]);
    if (p == 2) scene = Image();
    plate = take_plate(std::move(plate), p, params, film, options, px_um, uneven, ctx);
    print_in_contact(plate, params);
    project_plate(plate, warps[p], screen, p);
  }
  screen = apply_lens(std::move(screen), lantern_lens(tricolor), Json::object(), ctx);
  if (params.projection) mix_rows(screen, *params.projection);
  clamp_to_sheet(screen);
  return screen;
}

}  // namespace morva
