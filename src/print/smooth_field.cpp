#include "print/smooth_field.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "image/filters.h"
#include "image/held.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"

namespace morva {

namespace {

constexpr double kLeastSigma = 0.5;   // pixels
constexpr double kCoarseSigma = 2.5;  // samples of a wide field's own raster

// Samples that a side needs when `sigma` of its pixels become kCoarseSigma samples.
int coarse_side(int side, double sigma) {
  if (sigma <= kCoarseSigma) return side;
  return std::max(1, static_cast<int>(std::ceil(side * kCoarseSigma / sigma)));
}

Image finish(FieldLayer layer, int w, int h) {
  if (layer.finished) return std::move(layer.samples);
  Image field = pil_resize(layer.samples, w, h, kResizeBicubic);
  scale_to_unit_deviation(field);
  return field;
}

}  // namespace

Image spread_noise(Rng& rng, int w, int h, double sigma_x, double sigma_y) {
  constexpr double least = 0.1;  // below it the noise stays as it is
  Image noise(h, w, 1), spread(h, w, 1);
  rng.fill_normals(noise.data.data(), noise.data.size());
  const auto pass = [&](const Image& from, Image& to, bool along_rows, double wanted, int side) {
    const double sigma = held(wanted, least, std::max(least, 2.0 * side));
    correlate1d(from.data.data(), to.data.data(), h, w, along_rows,
                gaussian_kernel(sigma, gaussian_radius(sigma)), kBoundaryReflect);
  };
  pass(noise, spread, false, sigma_y, h);
  pass(spread, noise, true, sigma_x, w);
  return noise;
}

FieldLayer stroke_layer(Rng& rng, int w, int h, double sigma_x, double sigma_y, double share) {
  const double longest = std::max(1.0, static_cast<double>(std::max(w, h)));
  sigma_x = held(sigma_x, kLeastSigma, longest);
  sigma_y = held(sigma_y, kLeastSigma, longest);
  const int coarse_w = coarse_side(w, sigma_x);
  const int coarse_h = coarse_side(h, sigma_y);
  return {spread_noise(rng, coarse_w, coarse_h, sigma_x * coarse_w / w, sigma_y * coarse_h / h),
          share};
}

FieldLayer smooth_layer(Rng& rng, int w, int h, double sigma, double share) {
  return stroke_layer(rng, w, h, sigma, sigma, share);
}

Image stroke_field(Rng& rng, int w, int h, double sigma_x, double sigma_y) {
  return finish(stroke_layer(rng, w, h, sigma_x, sigma_y), w, h);
}

Image smooth_field(Rng& rng, int w, int h, double sigma) {
  return stroke_field(rng, w, h, sigma, sigma);
}

Image sum_of_layers(DrawnField drawn, int w, int h) {
  Image sum;
  for (FieldLayer& layer : drawn.layers) {
    const auto share = static_cast<float>(layer.share);
    Image field = finish(std::move(layer), w, h);
    if (sum.data.empty()) {
      sum = std::move(field);
      continue;
    }
    for (std::size_t i = 0; i < sum.data.size(); ++i) sum.data[i] += share * field.data[i];
  }
  if (drawn.about_its_mean) take_off_mean(sum);
  scale_to_unit_deviation(sum);
  return sum;
}

float unit_scale(double deviation) {
  constexpr double least_deviation = 1e-6;
  return deviation > least_deviation ? static_cast<float>(1.0 / deviation) : 0.0f;
}

void scale_to_unit_deviation(Image& field) {
  const float scale = unit_scale(standard_deviation(field.data.data(), field.data.size()));
  for (float& v : field.data) v *= scale;
}

void take_off_mean(Image& field) {
  if (field.data.empty()) return;
  double sum = 0.0;
  for (const float v : field.data) sum += static_cast<double>(v);
  const auto mean = static_cast<float>(sum / static_cast<double>(field.data.size()));
  for (float& v : field.data) v -= mean;
}

}  // namespace morva
