// A sheet printed from plates, one an ink, in bands of rows: the raster of a fine screen is many
// times larger than the picture and is never held whole. Any height of the bands gives the same
// bytes.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

#include "image/image.h"
#include "image/render_context.h"
#include "repro/ink_mottle.h"
#include "repro/raster_plan.h"

namespace morva {

struct Plate {
  std::array<float, 3> ink = {};  // linear RGB of the solid on white
  int shift_x = 0, shift_y = 0;  // of the whole plate, pixels to the right and down, round the ends
};

// Rows y .. y + coverage.h - 1 of a plate, before its shift.
struct PlateRows {
  int plate = 0;
  int y = 0;
  Image coverage;  // one channel, 0..1
};

// Everything is counted in pixels of the enlarged raster.
struct PrintRun {
  std::array<float, 3> base = {1.0f, 1.0f, 1.0f};  // the sheet
  std::vector<Plate> plates;                       // in the order they print
  // Plate values of n pixels of the picture, interleaved as its channels are, a plane for each
  // plate.
  std::function<void(const float* picture, std::size_t n, float* const* planes)> separate;
  // What lands of a plate's values, in place: press, banding, screen. It may look at rows on either
  // side; those at the ends of `rows` then count for nothing unless they are the raster's.
  std::function<void(PlateRows& rows)> lay_down;
  int reach = 0;              // rows that lay_down looks beyond
  double psf_sigma_px = 0.0;  // of the sheet as it is seen; below 0.3 it stays sharp
  double mottle = 0.0;
  MottleField mottle_field;  // of the enlarged size, where `mottle` is above 0
};

// `picture` has one channel or three; the sheet has three, 0..1, and the picture's size. Bands have
// `band_rows` rows of the enlarged raster; 0: about half a million pixels, the whole raster for a
// blur above 10 px. Throws Cancelled, which it looks for many times in a band.
Image print_run(Image picture, const RasterScale& scale, const PrintRun& run, RenderContext& ctx,
                int band_rows = 0);

}  // namespace morva
