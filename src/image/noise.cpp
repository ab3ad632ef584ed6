#include "image/noise.h"

#include <algorithm>
#include <new>

#include "image/filters.h"
#include "image/generator_jump.h"
#include "image/pairwise_sum.h"
#include "image/vector/random_loops.h"

namespace morva {

namespace {

constexpr std::int64_t kBandRows = 256;
constexpr std::int64_t kBandWord = 500;  // apart from the small words that keys end in
constexpr std::int64_t kStripWord = 900;

std::int64_t band_of(std::int64_t row) {
  return row >= 0 ? row / kBandRows : -(-(row + 1) / kBandRows) - 1;
}

// Normals of `count` rows, at most vector::kGenerators; room is needed for as many as that.
void draw_side_by_side(Rng* rows, std::size_t count, std::size_t columns, float* out,
                       std::size_t stride) {
  vector::Generators generators = {};
  for (std::size_t l = 0; l < count; ++l)
    for (int k = 0; k < 4; ++k) generators.s[k][l] = rows[l].s[k];
  vector::random_loops().generated_normals(generators, columns, out, stride);
  for (std::size_t l = 0; l < count; ++l)
    for (int k = 0; k < 4; ++k) rows[l].s[k] = generators.s[k][l];
}

}  // namespace

NoiseRows::NoiseRows(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                     bool counter)
    : key_(key), y0_(y0), width_(static_cast<std::size_t>(width)), counter_(counter) {
  if (counter || y1 <= y0) return;
  rows_.reserve(static_cast<std::size_t>(y1 - y0));
  const StepMatrix next_row = jump_matrix(2 * static_cast<std::uint64_t>(width));  // two draws each
  for (std::int64_t y = y0; y < y1; ++y) {
    const std::int64_t band = band_of(y);
    if (y == y0 || y == band * kBandRows) {
      rows_.push_back(rng_from_key(with_word(key, band + kBandWord)));
      rows_.back().skip_normals(static_cast<std::uint64_t>(y - band * kBandRows) * width_);
    } else {
      rows_.push_back(rows_.back());
      jump(rows_.back().s, next_row);
    }
  }
}

void NoiseRows::take(std::size_t first, std::size_t rows, std::size_t x, std::size_t columns,
                     float* out, std::size_t stride) {
  if (counter_) {
    for (std::size_t j = 0; j < rows; ++j) take_counted(first + j, x, columns, out + j * stride);
    return;
  }
  constexpr std::size_t kSet = vector::kGenerators;
  for (std::size_t j = 0; j < rows; j += kSet) {
    const std::size_t count = std::min(kSet, rows - j);
    if (count == kSet) {
      draw_side_by_side(&rows_[first + j], kSet, columns, out + j * stride, stride);
      continue;
    }
    spare_.resize(kSet * columns);
    draw_side_by_side(&rows_[first + j], count, columns, spare_.data(), columns);
    for (std::size_t l = 0; l < count; ++l)
      std::copy_n(&spare_[l * columns], columns, out + (j + l) * stride);
  }
}

void NoiseRows::take_counted(std::size_t row, std::size_t x, std::size_t columns,
                             float* out) const {
  const std::int64_t y = y0_ + static_cast<std::int64_t>(row);
  const std::int64_t band = band_of(y);
  const std::uint64_t hash = hash_key(with_word(key_, band + kBandWord));
  const std::uint64_t start = static_cast<std::uint64_t>(y - band * kBandRows) * width_ + x;
  fill_counter_normals(hash, start, columns, out);
}

Image band_noise(const Key& key, std::int64_t y0, std::int64_t y1, std::int32_t width,
                 bool counter) {
  const std::int64_t rows = std::max<std::int64_t>(y1 - y0, 0);
  if (rows > INT32_MAX) throw std::bad_alloc();
  Image sheet(static_cast<std::int32_t>(rows), width, 1);
  NoiseRows(key, y0, y1, width, counter)
      .take(0, static_cast<std::size_t>(rows), 0, sheet.row_samples(), sheet.data.data(),
            sheet.row_samples());
  return sheet;
}

void fill_row_uniforms(const Key& key, std::int64_t y0, std::uint64_t start, std::size_t n,
                       bool counter, float* out) {
  const Key strip_key = with_word(key, y0 + kStripWord);
  if (counter) {
    fill_counter_uniforms(hash_key(strip_key), start, n, out);
    return;
  }
  Rng rng = rng_from_key(strip_key);
  rng.skip(start);
  rng.fill_uniforms(out, n);
}

std::vector<float> row_uniforms(const Key& key, std::int64_t y0, std::size_t n, bool counter) {
  std::vector<float> values(n);
  fill_row_uniforms(key, y0, 0, n, counter, values.data());
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
