// The register of three plates. Each is laid in the projector by hand: a little aside, a little
// askew, a touch larger or smaller as its glass took up the heat, and its gelatine has crept in
// drying.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "image/image.h"
#include "image/random.h"
#include "profiles/json_access.h"

namespace morva {

// How far one plate lies from where it should: for every pixel of the screen a place on the plate.
// All lengths in pixels, all numbers finite.
struct PlateWarp {
  std::array<double, 2> shift_px = {0.0, 0.0};  // x, y
  std::array<double, 2> turn = {1.0, 0.0};      // about the centre, scale and crop in it: cos, sin
  std::int32_t columns = 1;  // cells of the gelatine's creep, which divide the picture evenly
  std::int32_t rows = 1;
  std::vector<float> creep_x;  // at the corners of the cells, row by row
  std::vector<float> creep_y;
};

// The plates of r, g and b on a picture of w x h pixels of `px_um` micrometres. The numbers of
// `registration` in the film's record `tricolor` are deviations, times option `plate_shift`, but
// for `margin`, the share of every side that is cropped, which is taken times it as well, so that a
// `plate_shift` of 0 is exact register and the whole picture. Draws from `rng` a count that depends
// on sizes alone: for each plate 4 normals, then for each plate 2 a corner.
std::array<PlateWarp, 3> registration_plan(const Json& tricolor, const Json& options,
                                           std::int32_t w, std::int32_t h, double px_um, Rng& rng);

// The one-channel `plate` through its warp into a channel of `screen`, of the same size: bilinear,
// the plate's edge continued.
void project_plate(const Image& plate, const PlateWarp& warp, Image& screen, std::int32_t channel);

}  // namespace morva
