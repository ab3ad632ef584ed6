// A tone thrown in drops of one size: each drop falls where the tone of its place reaches the
// mask's threshold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/image.h"
#include "image/random.h"

namespace morva {

// Of a raster of h x w pixels whose drops stand `pitch_px` apart: the pixels of a drop's cell have
// one threshold.
struct ThresholdMap {
  int h = 0;
  int rows = 0;  // of cells; h where every pixel is one
  double pitch_px = 1.0;
  std::size_t row_offset = 0;  // where the raster lies in the mask
  const float* mask = nullptr;
  std::vector<std::uint8_t> columns;  // of the mask, for each pixel of a row
};

// Draws two words from `rng`: the offset down, then across. Throws as blue_noise().
ThresholdMap threshold_map(int h, int w, double pitch_px, Rng& rng);

// The mask's row for row y of the raster: pixel x has the threshold at columns[x].
const float* threshold_row(const ThresholdMap& map, int y);

// In place on rows y .. y + tone.h - 1, one channel: 1 where a drop falls, else 0.
void throw_drops(const ThresholdMap& map, int y, Image& tone);

}  // namespace morva
