#include "image/noise.h"

#include <algorithm>
#include <new>

#include "image/filters.h"
#include "image/pairwise_sum.h"

namespace morva {

namespace {

constexpr std::int64_t kBandRows = 256;
constexpr std::int64_t kBandWord = 500;  // apart from the small words that keys end in
constexpr std::int64_t kStripWord = 900;

std::int64_t band_of(std::int64_t row) {
  return row >= 0 ? row / kBandRows : -(-(row + 1) / kBandRows) - 1;
}

Key with_word(Key key, std::int64_t word) {
  key.push_back(word);
  return key;
}

// Rows `from` up to `to` of one band.
void draw_band(const Key& band_key, std::int64_t from, std::int64_t to, std::int32_t width,
               bool counter, float* out) {
  const auto before = static_cast<std::size_t>(from) * static_cast<std::size_t>(width);
  const auto count = static_cast<std::size_t>(to - from) * static_cast<std::size_t>(width);
  if (counter) {
    const std::vector<float> values = counter_normals(hash_key(band_key), before, count);
    std::copy(values.begin(), values.end(), out);
    return;
  }
  Rng rng = rng_from_key(band_key);
  rng.skip_normals(before);
  rng.fill_normals(out, count);
}

}  // namespace

Image band_noise(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                 bool counter) {
  const std::int64_t rows = std::max<std::int64_t>(y1 - y0, 0);
  if (rows > INT32_MAX) throw std::bad_alloc();
  Image sheet(static_cast<std::int32_t>(rows), width, 1);
  float* out = sheet.data.data();
  for (std::int64_t y = y0; y < y1;) {
    const std::int64_t band = band_of(y);
    const std::int64_t from = y - band * kBandRows;
    const std::int64_t to = std::min(kBandRows, y1 - band * kBandRows);
    draw_band(with_word(key, band + kBandWord), from, to, width, counter, out);
    out += (to - from) * width;
    y += to - from;
  }
  return sheet;
}

std::vector<float> row_uniforms(const Key& key, std::int64_t y0, std::size_t n, bool counter) {
  const Key strip_key = with_word(key, y0 + kStripWord);
  if (counter) return counter_uniforms(hash_key(strip_key), 0, n);
  Rng rng = rng_from_key(strip_key);
  std::vector<float> values(n);
  for (float& value : values) value = static_cast<float>(rng.uniform());
  return values;
}

Image gaussian_noise_image(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                           double sigma, bool counter) {
  return gaussian_filter(band_noise(key, y0, y1, width, counter), sigma, kBoundaryReflect);
}

Image normalised_noise(Rng& rng, std::int32_t w, std::int32_t h, double sigma) {
  Image field(h, w, 1);
  rng.fill_normals(field.data.data(), field.data.size());
  field = gaussian_filter(field, sigma, kBoundaryReflect);
  const double deviation = std::max(1e-6, standard_deviation(field.data.data(), field.data.size()));
  for (float& value : field.data)
    value = static_cast<float>(static_cast<double>(value) / deviation);
  return field;
}

}  // namespace morva
