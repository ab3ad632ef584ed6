// Noise fields. A sheet of noise is endless and drawn in fixed bands of 256 rows, each from its own
// key, so that a row has the same values whichever window of the sheet is asked for.
#pragma once

#include <cstdint>
#include <vector>

#include "image/image.h"
#include "image/random.h"

namespace morva {

// Rows y0 up to y1 of the sheet, one channel; rows may be negative. `counter` takes the counter
// form of the generator in place of the plain one. No rows give an empty image.
Image band_noise(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                 bool counter);

// Rows y0 up to y1 of the sheet, made part by part: of each row from the left on, without gaps.
class NoiseRows {
 public:
  NoiseRows(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width, bool counter);

  // Columns x .. x + columns - 1 of `rows` rows, the first of which is row y0 + first.
  void take(std::size_t first, std::size_t rows, std::size_t x, std::size_t columns, float* out,
            std::size_t stride);

 private:
  void take_counted(std::size_t row, std::size_t x, std::size_t columns, float* out) const;

  Key key_;
  std::int64_t y0_;
  std::size_t width_;
  bool counter_;
  std::vector<Rng> rows_;     // of each row, where it stands
  std::vector<float> spare_;  // for generators that have no row
};

// `n` uniforms for the pixels of the strip whose first row is y0.
std::vector<float> row_uniforms(const Key& key, std::int64_t y0, std::size_t n, bool counter);

// Elements start .. start + n - 1 of them.
void fill_row_uniforms(const Key& key, std::int64_t y0, std::uint64_t start, std::size_t n,
                       bool counter, float* out);

// band_noise under a Gaussian of `sigma` pixels, mirrored at the window's edges.
Image gaussian_noise_image(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                           double sigma, bool counter);

// A smooth field of unit variance: w x h normals under a mirrored Gaussian, over their deviation.
Image normalised_noise(Rng& rng, std::int32_t w, std::int32_t h, double sigma);

}  // namespace morva
