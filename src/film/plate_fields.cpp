#include "film/plate_fields.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "film/flow_noise.h"
#include "image/elementary.h"
#include "image/held.h"
#include "profiles/seeds.h"

namespace morva {

namespace {

// Far beyond any plate; they keep a wild number from becoming an infinity in the picture.
constexpr double kRoughestPour = 1000.0;
constexpr double kLongestPush = 16.0;

double strength(const Json& record, const char* key, double fallback) {
  return held_finite(get_number(record, key, fallback));
}

// Distance from the pour's corner along one axis, as a share of that side.
std::vector<float> from_corner(int n, bool reversed) {
  std::vector<float> share(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double at = (i + 0.5) / std::max(n - 1, 1);
    share[i] = static_cast<float>(reversed ? 1.0 - at : at);
  }
  return share;
}

// The pool of a pour pauses before it is tilted on: a thicker arc at a fixed distance.
void add_crescent(float* gain, const float* b, int n, float a, float h, float crescent) {
  constexpr float radius = 0.16f;  // of the long side
  constexpr float width = 0.07f;
  const auto w = static_cast<float>(n);
  const float longest = std::max(h, w);
  std::vector<float> arc(static_cast<std::size_t>(n));
  for (int j = 0; j < n; ++j) {
    const float y = h * a / longest;
    const float x = w * b[j] / longest;
    const float off = (std::sqrt(y * y + x * x) - radius) / width;
    arc[j] = -off * off;
  }
  elementary::expf(arc.data(), arc.data(), arc.size());
  for (int j = 0; j < n; ++j) gain[j] *= 1.0f + crescent * arc[j];
}

}  // namespace

PlateParams plate_params(const Json& film, const Json& options) {
  PlateParams plate;
  if (get_text_or(film, "type", "") == "collodion")
    plate.kind = PlateKind::wet;
  else if (truthy(get(film, "dryplate")))
    plate.kind = PlateKind::dry;
  else
    return plate;
  const bool wet = plate.kind == PlateKind::wet;
  const Json& record = get_object(film, wet ? "collodion" : "dryplate");
  plate.pour = held(get_number_or(options, "plate_pour", 1.0, 0.0), 0.0, kRoughestPour);
  plate.push = held(get_number(options, "push", 0.0), 0.0, kLongestPush);
  plate.edge = plate_edge(record);
  if (wet) {
    plate.slope = strength(record, "slope", 0.1);
    plate.crescent = strength(record, "crescent", 0.1);
    plate.wander = strength(record, "wander", 0.035);
    plate.veil = strength(record, "veil", 0.06);
    plate.crystal = strength(record, "crystal", 0.5);
    plate.key = plate_key(film, "_plate_seed", options, kCollodionTag);
  } else {
    plate.edge_fog = strength(record, "edge_fog", 0.35);
    plate.key = plate_key(film, "_dry_seed", options, kDryPlateTag);
  }
  return plate;
}

PourField pour_field(int h, int w, double px_um, const PlateParams& plate, Rng& rng) {
  const PlateCorner corner = draw_corner(rng);
  const std::vector<float> down = from_corner(h, corner.below);
  const std::vector<float> aside = from_corner(w, corner.right);
  const auto slope = static_cast<float>(plate.slope * plate.pour);
  const auto crescent = static_cast<float>(plate.crescent * plate.pour);
  const auto wander = static_cast<float>(plate.wander * plate.pour);
  Image gain = flow_noise(h, w, px_um, {corner, 18.0, 3.2}, rng);
  std::vector<float> row(aside.size());
  for (int i = 0; i < h; ++i) {
    for (int j = 0; j < w; ++j) row[j] = (0.5f - (down[i] + aside[j]) * 0.5f) * slope + 1.0f;
    if (crescent > 0.0f)
      add_crescent(row.data(), aside.data(), w, down[i], static_cast<float>(h), crescent);
    float* g = &gain.at(i, 0);
    for (int j = 0; j < w; ++j) g[j] = std::max(row[j] + wander * g[j], 0.0f);
  }
  return {std::move(gain), corner};
}

PlateFields plate_fields(const PlateParams& plate, int w, int h, double px_um) {
  PlateFields fields;
  if (plate.kind == PlateKind::none || plate.pour <= 0.0) return fields;
  fields.rng = rng_from_key(plate.key);
  PourField poured;
  if (plate.kind == PlateKind::wet) poured = pour_field(h, w, px_um, plate, fields.rng);
  fields.corner = poured.corner;
  PlateField coated = plate_field(w, h, px_um, plate.edge, plate.pour, fields.rng);
  for (std::size_t i = 0; i < poured.gain.data.size(); ++i)
    coated.gain.data[i] *= poured.gain.data[i];
  fields.gain = std::move(coated.gain);
  if (plate.kind == PlateKind::wet) fields.edge = std::move(coated.edge);
  return fields;
}

}  // namespace morva
