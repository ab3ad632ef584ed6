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

// `n` uniforms for the pixels of the strip whose first row is y0.
std::vector<float> row_uniforms(const Key& key, std::int64_t y0, std::size_t n, bool counter);

// band_noise under a Gaussian of `sigma` pixels, mirrored at the window's edges.
Image gaussian_noise_image(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                           double sigma, bool counter);

// A smooth field of unit variance: w x h normals under a mirrored Gaussian, over their deviation.
Image normalised_noise(Rng& rng, std::int32_t w, std::int32_t h, double sigma);

}  // namespace morva
