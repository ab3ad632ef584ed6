// What a table top is made of, as the relative brightness of its surface: 1 is the mean. A surface
// is drawn once and then read part by part, so that only what the sheet leaves open is ever made.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/image.h"
#include "image/random.h"

namespace morva {

// Rows y0 .. y1 - 1 and columns x0 .. x1 - 1 of a table top.
struct SurfacePart {
  std::int32_t y0;
  std::int32_t y1;
  std::int32_t x0;
  std::int32_t x1;

  std::size_t columns() const { return static_cast<std::size_t>(x1 - x0); }
};

// Fine grain: white noise under a Gaussian, of unit deviation. Any part of it can be had by itself,
// without a seam to the next.
struct FineGrain {
  Key key;
  std::int32_t width;  // of the table top, pixels
  double sigma_px;
};

// Adds `strength` of it to the plane `shade`, which holds the part row by row.
void add_fine_grain(const FineGrain& grain, const SurfacePart& part, float strength, float* shade);

// A plain painted top: fine grain, and clouds of a few millimetres on it.
struct Mottle {
  FineGrain grain;
  float grain_strength;
  float cloud_strength;
  double cloud_px;  // distance of the clouds' nodes
  Image clouds;     // a normal deviate on each node
};
Mottle draw_mottle(std::int32_t h, std::int32_t w, double px_per_mm, double grain_strength,
                   double cloud_strength, Rng& rng);
void shade_mottle(const Mottle& mottle, const SurfacePart& part, float* shade);

}  // namespace morva
