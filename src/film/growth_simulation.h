// Grain grown on a raster finer than the picture. In each sub-sample grains are Poisson events
// whose rate varies over the film as a lognormal field; each grain of silver, or the cloud of dye
// around it, blocks light. The raster is made in strips of 1536 rows, and only one field of a strip
// is ever held.
#pragma once

#include <cstddef>

#include "image/image.h"
#include "image/pixel_size.h"
#include "image/random.h"
#include "image/render_context.h"

namespace morva {

// Where the draws of a raster come from; `counter` takes the counter form of the generator. Between
// two bands of rows `ctx` may cancel.
struct GrowthDraws {
  Key key;
  bool counter = false;
  const RenderContext* ctx = nullptr;
};

// The sub-samples of a picture.
struct SubSampling {
  int per_side = 1;     // sub-samples in a pixel's side
  double sub_um = 1.0;  // their side on the film, micrometres
};

// `t_um` is the side of a grain's shadow, `r_um` the reach of the rate's variations, micrometres;
// `sigma` the spread of the rate's logarithm.
struct SilverGrains {
  double t_um = 0.25;
  double r_um = 3.0;
  double sigma = 0.0;
};

// `unit` is the density of one grain over a sub-sample, `cloud_um` the sigma of its dye cloud.
struct DyeGrains {
  double unit = 0.05;
  double cloud_um = 0.0;
  double r_um = 6.0;
  double sigma = 0.0;
};

// Share of a sub-sample's area that one grain blocks, at most 1, and what makes the mean
// transmission right: 1 / (1 - exp(-area)).
double grain_area(const SilverGrains& grains, double sub_um);
double event_factor(double area);

// Grains over a sub-sample for a density of 1.0, each of the density `unit`.
double dye_events(double unit);

// Sub-samples of a whole picture. A raster that no memory holds is a std::bad_alloc.
struct Raster {
  std::size_t rows;
  std::size_t width;
};
Raster raster_of(PixelSize picture, const SubSampling& sub);

// Sigmas in sub-samples: of the rate's variations, and of a dye cloud, 0 where it does not leave
// its sub-sample. Throws std::length_error for a reach of more than 512 sub-samples.
struct GrowthReach {
  double rate_px;
  double cloud_px;
};
GrowthReach growth_reach(const SilverGrains& grains, double sub_um);
GrowthReach growth_reach(const DyeGrains& grains, double sub_um);

// Transmission of each pixel, the mean over its sub-samples. `lambda` is the optical depth, ln 10
// times the density above base; `density` that density of one dye layer. One channel; between the
// pixels' centres both run linearly.
// Throws Cancelled, and std::length_error for a reach of more than 512 sub-samples.
Image grow_silver(const Image& lambda, const SubSampling& sub, const SilverGrains& grains,
                  const GrowthDraws& draws);
Image grow_dye(const Image& density, const SubSampling& sub, const DyeGrains& grains,
               const GrowthDraws& draws);

}  // namespace morva
