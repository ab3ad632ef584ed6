// The raster of a print run or of a tube on the picture's pixels, and the raster that the stage
// works on: dots that the pixels cannot carry are drawn finer and seen from afar.
#pragma once

#include <string>

#include "profiles/json_access.h"

namespace morva {

struct RasterPlan {
  std::string repro;       // of the paper; empty: none
  double period_um = 0.0;  // of the raster on the sheet; 0: none
  double period_px = 0.0;
  bool resolved = false;  // the pixels carry it
};

// A screen of no lines or a mask whose pitch is no length is no raster. Throws as the getters do.
RasterPlan plan_raster(const Json& paper, const Json& options, double print_px_um);

struct RasterScale {
  RasterPlan plan;  // at the picture's own pixels
  double up = 1.0;  // the picture is enlarged by this
  int over = 1;     // and by this: 1 or 2
};

// For a picture of h x w pixels; the same for a render and for who only asks.
RasterScale plan_raster_scale(const Json& paper, const Json& options, int h, int w,
                              double print_px_um);

// What is left of it for a stage that holds its raster whole, as a tube's does: `over` falls away,
// and `up` gives way, where the raster would pass 2^27 pixels, 1.5 GiB in three channels. A mask is
// drawn as each pixel gathers it, so it loses little.
RasterScale scale_held_whole(RasterScale scale, int h, int w);

// A side of `px` pixels enlarged: to the nearest pixel, at least 1.
int enlarged_side(int px, double factor);

// A side, the size of a pixel and the raster after both enlargements. The size is one that a sheet
// can have, 1e-6 to 1e9 um, whatever is given. A period that rounding has left beside a whole
// number of pixels is that number.
int enlarged_side(int px, const RasterScale& scale);
double enlarged_px_um(double print_px_um, const RasterScale& scale);
RasterPlan enlarged_plan(const RasterScale& scale, double print_px_um);

}  // namespace morva
