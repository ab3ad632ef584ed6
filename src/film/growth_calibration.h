// What brings the growth grain to a film's measured granularity: the spread of its rate, and of a
// dye layer the density of one grain, are set so that an even patch at a density of 1.0 above base
// has, through the 48 micrometre aperture, the RMS granularity of the classic grain. Results are
// kept for the life of the process.
#pragma once

#include <array>

#include "film/classic_grain.h"

namespace morva {

// The side of a sub-sample on the sheet where dye grains are measured, micrometres.
inline constexpr double kCalibrationSubUm = 2.0;

// Sigma of the spot that reads the film, micrometres.
inline constexpr double kSpotUm = 4.0;

// Spread of the logarithm of the rate of silver grains in clumps of `size_um`.
double silver_sigma(double size_um, double amount, double dmin, double dmax);

// What the layers R, G, B share, and what sets them apart.
struct DyeStock {
  double size_um = 8.4;
  double amount = 0.04;
  std::array<double, 3> layer_scale = kLayerScale;
  std::array<double, 3> layer_size_scale = kLayerSizeScale;
  std::array<double, 3> dmin = {0.0, 0.0, 0.0};
  std::array<double, 3> dmax = {1.0, 1.0, 1.0};
};

struct DyeCalibration {
  std::array<double, 3> sigma;
  std::array<double, 3> unit;  // density of one grain over a sub-sample of kCalibrationSubUm
};
DyeCalibration calibrate_dyes(const DyeStock& stock);

// Geometry of the grains of a clump of `size_um`; `size_mult` scales what the render scales.
double silver_shadow_um(double size_um);
double silver_reach_um(double size_um, double size_mult);
double dye_reach_um(double size_um, double size_mult);
double dye_cloud_um(double size_um, double layer_size_scale, double size_mult);

}  // namespace morva
