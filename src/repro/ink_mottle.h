// Ink that the sheet takes up unevenly.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "image/image.h"
#include "image/random.h"
#include "image/row_resizer.h"
#include "repro/row_queue.h"

namespace morva {

// One scale of the unevenness: white noise under a Gaussian. A wide one is held as cells, 1.5 to a
// sigma; a narrow one as the place in the generator where its noise begins.
struct MottleLayer {
  double sigma_px = 0.0;
  Image cells;
  Rng noise = {};
  float gain = 0.0f;
};

// A field of unit deviation, made by rows: the raster it lies on may be too large to hold.
struct MottleField {
  int h = 0, w = 0;
  MottleLayer fine, coarse;
};

// A fine scale, and a coarse one by `weight`. Draws their white noise from `rng`, the fine one's
// first.
MottleField mottle_field(int h, int w, double px_um, double fine_um, double coarse_um,
                         double weight, Rng& rng);

// Rows of a layer, before its gain.
class MottleLayerRows {
 public:
  MottleLayerRows(const MottleLayer& layer, int h, int w);
  const float* rows(int y, int count);

 private:
  void make(int y, int count, float* out);

  const MottleLayer& layer_;
  int h_, w_;
  std::optional<RowResizer> cells_;
  RowQueue made_;  // rows first_ and on
  int first_ = 0;
};

// Rows of a field, which must outlive it.
class MottleRows {
 public:
  explicit MottleRows(const MottleField& field);

  // Rows y .. y + count - 1, one channel, good until the next are asked for. Rows that go down cost
  // least.
  const float* rows(int y, int count);

 private:
  const MottleField& field_;
  MottleLayerRows fine_, coarse_;
  std::vector<float> both_;
};

// In place on n pixels of interleaved RGB: the deeper the ink on the sheet `base`, the more of
// `field` shows.
void apply_mottle(float* rgb, std::size_t n, double amount, const float* field,
                  const std::array<float, 3>& base);

}  // namespace morva
