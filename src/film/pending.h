// Film stages whose models have not landed: each hands its picture on unchanged, at the place in
// the order where it will stand.
#pragma once

#include <array>
#include <utility>

#include "image/image.h"
#include "profiles/json_access.h"

namespace morva {

// Ageing: expired stock and film exposed through its base.
inline Json prepare_film(const Json& film, const Json&) {
  return film;
}

// Uneven development on a density image: `anchors` are the fog of each layer, `gains` its response.
inline Image apply_uneven(Image density, const std::array<float, 3>&, const Image&,
                          const std::array<float, 3>&, float) {
  return density;
}

// The fields of a hand-coated plate, multiplied into the light before its curve.
inline Image plate_fields(Image light, const Json&, const Json&, double) {
  return light;
}

}  // namespace morva
