// Paper drinks ink unevenly, in patches of fibres and in the cloudiness of the whole sheet. Bare
// paper shows nothing of it, a solid the most.
#include "repro/ink_mottle.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "image/filters.h"
#include "image/held.h"
#include "image/resample.h"
#include "print/smooth_field.h"
#include "repro/vector/separation_loops.h"

namespace morva {

namespace {

constexpr double kCellsPerSigma = 1.5;
constexpr double kLeastDeviation = 1e-6;
constexpr int kMeasuredRows = 16;  // at a time
constexpr int kNoiseRows = 64;     // of a narrow layer that are made at a time

int cells_along(int side, double sigma_px) {
  return std::max(1, static_cast<int>(std::ceil(side * kCellsPerSigma / sigma_px)));
}

MottleLayer draw_layer(int h, int w, double sigma_px, Rng& rng) {
  MottleLayer layer;
  layer.sigma_px = std::min(sigma_px, static_cast<double>(std::max({h, w, 1})));
  if (layer.sigma_px > kCellsPerSigma) {
    const int cells_h = cells_along(h, layer.sigma_px), cells_w = cells_along(w, layer.sigma_px);
    layer.cells = spread_noise(rng, cells_w, cells_h, layer.sigma_px * cells_w / w,
                               layer.sigma_px * cells_h / h);
  } else {
    layer.noise = rng;
    rng.skip_normals(static_cast<std::uint64_t>(h) * static_cast<std::uint64_t>(w));
  }
  return layer;
}

// The rows that lie within the kernel's reach of the wanted ones are drawn again.
void blurred_noise_rows(const MottleLayer& layer, int h, int w, int y, int count, float* out) {
  const int reach = static_cast<int>(gaussian_radius(layer.sigma_px));
  const int first = std::max(0, y - reach), end = std::min(h, y + count + reach);
  Image noise(end - first, w, 1);
  Rng rng = layer.noise;
  rng.skip_normals(static_cast<std::uint64_t>(first) * static_cast<std::uint64_t>(w));
  rng.fill_normals(noise.data.data(), noise.data.size());
  noise = gaussian_filter(noise, layer.sigma_px, kBoundaryReflect);
  std::copy_n(noise.data.data() + static_cast<std::size_t>(y - first) * noise.row_samples(),
              static_cast<std::size_t>(count) * noise.row_samples(), out);
}

// Second moments of the two layers about their means.
struct Moments {
  double fine = 0.0, coarse = 0.0, both = 0.0;
};

// Counted from the first sample of each layer, so that a flat one has a moment of exactly zero.
Moments measure(const MottleField& field) {
  double f1 = 0.0, c1 = 0.0, ff = 0.0, cc = 0.0, fc = 0.0;
  float first_fine = 0.0f, first_coarse = 0.0f;
  MottleLayerRows fine_rows(field.fine, field.h, field.w);
  MottleLayerRows coarse_rows(field.coarse, field.h, field.w);
  for (int y = 0; y < field.h; y += kMeasuredRows) {
    const int count = std::min(kMeasuredRows, field.h - y);
    const float* fine = fine_rows.rows(y, count);
    const float* coarse = coarse_rows.rows(y, count);
    if (y == 0) {
      first_fine = fine[0];
      first_coarse = coarse[0];
    }
    const std::size_t n = static_cast<std::size_t>(count) * static_cast<std::size_t>(field.w);
    for (std::size_t i = 0; i < n; ++i) {
      const double f = static_cast<double>(fine[i]) - static_cast<double>(first_fine);
      const double c = static_cast<double>(coarse[i]) - static_cast<double>(first_coarse);
      f1 += f;
      c1 += c;
      ff += f * f;
      cc += c * c;
      fc += f * c;
    }
  }
  const double n = std::max(1.0, static_cast<double>(field.h) * static_cast<double>(field.w));
  const double mean_f = f1 / n, mean_c = c1 / n;
  return {std::max(0.0, ff / n - mean_f * mean_f), std::max(0.0, cc / n - mean_c * mean_c),
          fc / n - mean_f * mean_c};
}

// Each layer alone comes to unit deviation, and so does their sum.
void set_gains(MottleField& field, double weight) {
  const Moments m = measure(field);
  const auto inverse = [](double moment) {
    const double deviation = std::sqrt(std::max(0.0, moment));
    return deviation > kLeastDeviation ? 1.0 / deviation : 0.0;
  };
  const double fine = inverse(m.fine), coarse = weight * inverse(m.coarse);
  const double together =
      inverse(fine * fine * m.fine + 2.0 * fine * coarse * m.both + coarse * coarse * m.coarse);
  field.fine.gain = static_cast<float>(fine * together);
  field.coarse.gain = static_cast<float>(coarse * together);
}

}  // namespace

MottleField mottle_field(int h, int w, double px_um, double fine_um, double coarse_um,
                         double weight, Rng& rng) {
  constexpr double least_fine_px = 0.6, least_coarse_px = 1.0, most_px = 1e6;
  const double p = std::max(1e-6, px_um);
  MottleField field;
  field.h = h;
  field.w = w;
  field.fine = draw_layer(h, w, held(fine_um / p, least_fine_px, most_px), rng);
  field.coarse = draw_layer(h, w, held(coarse_um / p, least_coarse_px, most_px), rng);
  set_gains(field, weight);
  return field;
}

MottleLayerRows::MottleLayerRows(const MottleLayer& layer, int h, int w)
    : layer_(layer), h_(h), w_(w), made_(static_cast<std::size_t>(w)) {
  if (!layer.cells.data.empty()) cells_.emplace(layer.cells, w, h, kResizeBicubic);
}

const float* MottleLayerRows::rows(int y, int count) {
  int end = first_ + static_cast<int>(made_.rows());
  if (y < first_ || y > end) {
    made_.drop(made_.rows());
    first_ = end = y;
  }
  made_.drop(static_cast<std::size_t>(y - first_));
  first_ = y;
  while (end < y + count) {
    const int added = cells_ ? y + count - end : std::min(kNoiseRows, h_ - end);
    make(end, added, made_.add(static_cast<std::size_t>(added)));
    end += added;
  }
  return made_.row(0);
}

void MottleLayerRows::make(int y, int count, float* out) {
  if (cells_)
    cells_->make_rows(static_cast<std::size_t>(y), static_cast<std::size_t>(count), out,
                      static_cast<std::size_t>(w_));
  else
    blurred_noise_rows(layer_, h_, w_, y, count, out);
}

MottleRows::MottleRows(const MottleField& field)
    : field_(field), fine_(field.fine, field.h, field.w), coarse_(field.coarse, field.h, field.w) {}

const float* MottleRows::rows(int y, int count) {
  const std::size_t n = static_cast<std::size_t>(count) * static_cast<std::size_t>(field_.w);
  const float* fine = fine_.rows(y, count);
  const float* coarse = coarse_.rows(y, count);
  both_.resize(std::max(both_.size(), n));
  for (std::size_t i = 0; i < n; ++i)
    both_[i] = field_.fine.gain * fine[i] + field_.coarse.gain * coarse[i];
  return both_.data();
}

void apply_mottle(float* rgb, std::size_t n, double amount, const float* field,
                  const std::array<float, 3>& base) {
  const float bare = std::max((base[0] + base[1] + base[2]) / 3.0f, 1e-6f);
  vector::separation_loops().mottle(rgb, n, field, static_cast<float>(amount), bare);
}

}  // namespace morva
