// A result that is made from the top down: its memory is reserved at once and touched row by row,
// while the rows are still in the cache.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "image/image.h"
#include "image/large_pages.h"

namespace morva {

// The size is set, `data` is still empty.
inline Image reserve_image(std::int32_t h, std::int32_t w, std::int32_t c) {
  Image image;
  image.h = h;
  image.w = w;
  image.c = c;
  const std::size_t samples = sample_count(h, w, c);
  image.data.reserve(samples);
  prefer_large_pages(image.data.data(), samples * sizeof(float));
  return image;
}

// Adds rows at the bottom and gives their first sample.
inline float* add_rows(Image& image, std::size_t rows) {
  const std::size_t present = image.data.size();
  image.data.resize(present + rows * image.row_samples());
  return image.data.data() + present;
}

}  // namespace morva
