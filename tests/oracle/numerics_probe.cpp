// A flat window on the numerics for the scripts that hold them against SciPy and Pillow: images are
// handles, so that a script times the routine and not the copying. A call that throws ends the
// process.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "film/growth_simulation.h"
#include "image/filters.h"
#include "image/image.h"
#include "image/pairwise_sum.h"
#include "image/resample.h"
#include "image/vector/isa.h"

#if defined(_MSC_VER)
#define PROBE extern "C" __declspec(dllexport)
#else
#define PROBE extern "C" __attribute__((visibility("default")))
#endif

using morva::Image;

// Gives the set that is now in use: 0 baseline, 1 avx2, 2 avx512.
PROBE int probe_use_isa(int isa) {
  morva::vector::use_isa(static_cast<morva::vector::Isa>(isa));
  return static_cast<int>(morva::vector::active_isa());
}

PROBE Image* probe_image(const float* samples, std::int32_t h, std::int32_t w, std::int32_t c) {
  auto* image = new Image(h, w, c);
  std::copy_n(samples, image->data.size(), image->data.begin());
  return image;
}

PROBE void probe_free(Image* image) {
  delete image;
}

PROBE void probe_shape(const Image* image, std::int32_t shape[3]) {
  std::copy_n(std::array{image->h, image->w, image->c}.begin(), 3, shape);
}

PROBE void probe_read(const Image* image, float* samples) {
  std::copy(image->data.begin(), image->data.end(), samples);
}

PROBE void probe_correlate1d(const float* src, float* dst, int h, int w, bool along_rows,
                             const double* kernel, std::size_t taps, int mode) {
  morva::correlate1d(src, dst, h, w, along_rows, std::vector<double>(kernel, kernel + taps), mode);
}

PROBE void probe_gaussian_kernel(double sigma, double* kernel) {
  const std::vector<double> made = morva::gaussian_kernel(sigma, morva::gaussian_radius(sigma));
  std::copy(made.begin(), made.end(), kernel);
}

PROBE Image* probe_gaussian_filter(const Image* image, double sigma, int mode) {
  return new Image(morva::gaussian_filter(*image, sigma, mode));
}

PROBE Image* probe_blur(const Image* image, double sigma) {
  return new Image(morva::blur_image(*image, sigma));
}

PROBE Image* probe_resize(const Image* image, std::int32_t w, std::int32_t h, int filter) {
  return new Image(morva::resize_image(*image, w, h, filter));
}

PROBE double probe_pairwise_sum(const double* values, std::size_t n) {
  return morva::pairwise_sum(values, n);
}

PROBE double probe_standard_deviation(const float* values, std::size_t n) {
  return morva::standard_deviation(values, n);
}

// Transmission of each pixel, from its optical depth or its density.
PROBE Image* probe_grow_silver(const Image* lambda, int per_side, double sub_um, double t_um,
                               double r_um, double sigma) {
  return new Image(morva::grow_silver(*lambda, {per_side, sub_um}, {t_um, r_um, sigma},
                                      {{1, 2, 3}, false, nullptr}));
}

PROBE Image* probe_grow_dye(const Image* density, int per_side, double sub_um, double unit,
                            double cloud_um, double r_um, double sigma) {
  return new Image(morva::grow_dye(*density, {per_side, sub_um}, {unit, cloud_um, r_um, sigma},
                                   {{1, 2, 3}, false, nullptr}));
}
