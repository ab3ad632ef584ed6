// Random fields of instant film, most of them fixed to its sheet in millimetres, and the numbers of
// the blocks that describe its marks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "image/image.h"
#include "image/random.h"
#include "image/row_resizer.h"
#include "profiles/json_access.h"
#include "profiles/peel_sizes.h"

namespace morva {

// The picture on the sheet. The film is pulled through its rollers along the long side.
struct PulledSheet {
  int h = 0, w = 0;
  double mm_per_px = 0.0;
  bool pulled_down = true;             // the long side is the height
  double long_mm = 0.0, short_mm = 0;  // as counted_mm gives them

  int long_px() const { return std::max(h, w); }
  int short_px() const { return std::min(h, w); }
};

// `size`: of the sheet in hand; null for a card, which has none.
PulledSheet pulled_sheet(const Image& picture, double px_um, const PeelSize* size);

// A Gaussian field of unit variance with its own correlation along the pull and across it, one
// value a pixel. Drawn three cells to a sigma whatever the raster, so that a finer one shows the
// same field; held as those cells.
class SheetField {
 public:
  SheetField(Rng& rng, const PulledSheet& sheet, double along_mm, double across_mm);
  SheetField(const SheetField&) = delete;
  SheetField& operator=(const SheetField&) = delete;

  // Row `y` of the picture's size, good until the next is asked for. To be asked from the top down.
  const float* row(int y);

 private:
  Image cells_;
  RowResizer rows_;
  std::vector<float> row_;
};

// White noise under a blur of `sigma_px`, without its mean and over its deviation; zero where it
// has none.
Image unit_noise(Rng& rng, int h, int w, double sigma_px);

// How far a density lies between the two ends of a range, 0 at the thin end.
struct DensityRange {
  float low = 0.0f;
  float per_density = 1.0f;

  float of(float density) const { return std::clamp((density - low) * per_density, 0.0f, 1.0f); }
};

// From the block's `d_range`.
DensityRange density_range(const Json& block);

// Of a pixel with one channel or three.
float mean_density(const float* pixel, int channels);

// Numbers of a block, held to what a sheet can have.
inline constexpr double kStrongestMark = 10.0;  // densities, and gains on them
inline constexpr double kWeakestMark = 1e-5;    // density; below it a mark is left out
double length_mm(const Json& block, const char* key, double fallback);
double share_of(const Json& block, const char* key, double fallback);  // 0..1
double gain_of(const Json& block, const char* key, double fallback);

}  // namespace morva
