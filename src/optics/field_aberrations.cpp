#include "optics/field_aberrations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <numbers>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/resample.h"
#include "optics/lens_sampling.h"

namespace morva {

namespace {

constexpr double kLeastStrength = 1e-6;
constexpr double kLeastBlurPx = 0.6;
constexpr double kReducedBlurPx = 12.0;  // the largest blur on the reduced copy
constexpr double kReducedSide = 24.0;    // px, its smallest side
constexpr int kBands = 6;
constexpr double kSharpSigma = 0.35;  // samples; less is not worth a pass
constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr std::size_t kMostPolarSamples = std::size_t{1} << 28;  // of three channels: 1 GiB

// Rings about the centre of the reduced copy by angles; a plane has a row for each ring.
struct PolarGrid {
  std::int32_t rings;
  std::int32_t angles;
  double corner_px;  // the corner's distance from the centre
  float centre_y;
  float centre_x;

  double rings_per_px() const { return rings / corner_px; }
  double angles_per_radian() const { return angles / kTwoPi; }
};

// A run of neighbouring rings: row 0 of the plane is ring `top`.
struct Rings {
  Image plane;
  std::int32_t top;
};

// The rings about one radius are blurred alike and fade into those of the next band.
struct Band {
  double along_angles;  // sigmas, in samples
  double along_rings;
  std::int32_t first;           // ring
  std::vector<double> weights;  // of that ring and those after it
};

using Bands = std::array<Band, kBands>;

std::int32_t reduced_side(std::int32_t side, double reduction) {
  return static_cast<std::int32_t>(
      std::max(kReducedSide, std::nearbyint(static_cast<double>(side) / reduction)));
}

// A sample for each pixel along the radius and, up to 4096, along the outermost circle.
PolarGrid polar_grid(std::int32_t w, std::int32_t h) {
  PolarGrid grid;
  const double cx = (w - 1) / 2.0, cy = (h - 1) / 2.0;
  grid.corner_px = std::sqrt(cx * cx + cy * cy);
  grid.rings = static_cast<std::int32_t>(std::max(32.0, std::nearbyint(grid.corner_px)));
  const double quarter = std::max(16.0, std::nearbyint(grid.corner_px * kTwoPi * 0.25));
  grid.angles = static_cast<std::int32_t>(std::min(4096.0, 4.0 * quarter));
  grid.centre_y = static_cast<float>(cy);
  grid.centre_x = static_cast<float>(cx);
  if (sample_count(grid.rings, grid.angles, 3) > kMostPolarSamples) throw std::bad_alloc();
  return grid;
}

Image to_polar(const Image& picture, std::int32_t k, const PolarGrid& grid) {
  std::vector<float> cosine, sine;
  cosine.reserve(static_cast<std::size_t>(grid.angles));
  sine.reserve(static_cast<std::size_t>(grid.angles));
  for (std::int32_t j = 0; j < grid.angles; ++j) {
    const double angle = j * kTwoPi / grid.angles;
    cosine.push_back(static_cast<float>(elementary::cos(angle)));
    sine.push_back(static_cast<float>(elementary::sin(angle)));
  }
  Image plane(grid.rings, grid.angles, 1);
  const float* channel = picture.data.data() + k;
  for (std::int32_t i = 0; i < grid.rings; ++i) {
    const auto radius = static_cast<float>((i + 0.5) * grid.corner_px / grid.rings);
    for (std::int32_t j = 0; j < grid.angles; ++j) {
      const FourPixels from(picture, between(grid.centre_y + sine[j] * radius, picture.h),
                            between(grid.centre_x + cosine[j] * radius, picture.w));
      plane.at(i, j) = from.mix(channel);
    }
  }
  return plane;
}

// The weight of a ring falls to 0 at the centre of the next band.
void choose_rings(Band& band, double centre, const PolarGrid& grid) {
  band.first = 0;
  for (std::int32_t ring = 0; ring < grid.rings; ++ring) {
    const double at = (ring + 0.5) / grid.rings;
    const double weight = std::clamp(1.0 - kBands * std::fabs(at - centre), 0.0, 1.0);
    if (weight > 0.0) {
      if (band.weights.empty()) band.first = ring;
      band.weights.push_back(weight);
    }
  }
}

// The bounds keep absurd strengths from costing more. Around the circle a Gaussian as wide as the
// circle is long is flat already; along the radius one of four times its length has nine tenths of
// its weight past the ends, and a wider one would show little else.
Band band_of(int number, const FieldBlur& field, const PolarGrid& grid, double long_px) {
  Band band;
  const double centre = (number + 0.5) / kBands;
  const double blur_px = long_px * elementary::pow(centre, field.power);
  const double radius_px = std::max(0.5, centre * grid.corner_px);
  band.along_angles =
      std::min<double>(grid.angles, (field.astigmatism + field.curvature) * blur_px *
                                        grid.angles_per_radian() / radius_px);
  band.along_rings = std::min<double>(
      4.0 * grid.rings, (field.coma + field.curvature) * blur_px * grid.rings_per_px());
  choose_rings(band, centre, grid);
  return band;
}

std::vector<double> kernel_of(double sigma) {
  return gaussian_kernel(sigma, gaussian_radius(sigma));
}

// The band's rings, and as many about them as the blur along the radius needs.
Rings blurred_rings(const Image& polar, const Band& band) {
  const std::int32_t first = band.first;
  const std::int32_t end = first + static_cast<std::int32_t>(band.weights.size());
  const bool radial = band.along_rings > kSharpSigma;
  const auto reach = static_cast<std::int32_t>(radial ? gaussian_radius(band.along_rings) : 0);
  const std::int32_t top = std::max(0, first - reach), bottom = std::min(polar.h, end + reach);
  Rings rings = {Image(bottom - top, polar.w, 1), top};
  const float* from = polar.data.data() + static_cast<std::size_t>(top) * polar.row_samples();
  if (band.along_angles > kSharpSigma)
    correlate1d(from, rings.plane.data.data(), rings.plane.h, polar.w, true,
                kernel_of(band.along_angles), kBoundaryWrap);
  else
    std::copy_n(from, rings.plane.data.size(), rings.plane.data.data());
  if (radial) {
    Image across(rings.plane.h, polar.w, 1);
    correlate1d(rings.plane.data.data(), across.data.data(), across.h, across.w, false,
                kernel_of(band.along_rings), kBoundaryNearest);
    rings.plane = std::move(across);
  }
  return rings;
}

// Adds the band's share to channel k of the sum.
void add_band(const Image& polar, const Band& band, std::int32_t k, Image& sum) {
  const Rings rings = blurred_rings(polar, band);
  std::int32_t ring = band.first;
  for (const double weight : band.weights) {
    const float* from = &rings.plane.data[(ring - rings.top) * rings.plane.row_samples()];
    float* to = &sum.at(ring, 0, k);
    for (std::int32_t j = 0; j < sum.w; ++j, to += sum.c)
      *to += static_cast<float>(weight * static_cast<double>(from[j]));
    ++ring;
  }
}

void divide_by_weights(Image& sum, const Bands& bands) {
  std::vector<double> weights(static_cast<std::size_t>(sum.h));
  for (const Band& band : bands)
    for (std::size_t i = 0; i < band.weights.size(); ++i)
      weights[band.first + i] += band.weights[i];
  float* sample = sum.data.data();
  for (const double weight : weights)
    for (std::size_t j = 0; j < sum.row_samples(); ++j, ++sample)
      *sample = static_cast<float>(static_cast<double>(*sample) / std::max(weight, 1e-6));
}

// The picture in polar coordinates, blurred: the weighted mean of the bands. A channel at a time,
// so that one polar plane is held beside the result.
Image blurred_in_bands(const Image& picture, const FieldBlur& field, const PolarGrid& grid,
                       const RenderContext& ctx) {
  const double long_px = std::max(picture.w, picture.h);
  Bands bands;
  for (int number = 0; number < kBands; ++number)
    bands[number] = band_of(number, field, grid, long_px);
  Image sum(grid.rings, grid.angles, 3);
  for (std::int32_t k = 0; k < 3; ++k) {
    const Image polar = to_polar(picture, k, grid);
    for (const Band& band : bands) {
      check_cancel(ctx);
      add_band(polar, band, k, sum);
    }
  }
  divide_by_weights(sum, bands);
  return sum;
}

// The angle of (dx, dy) from the x axis, 0 .. 2 pi.
float direction(float dy, float dx) {
  const auto angle =
      static_cast<float>(elementary::atan2(static_cast<double>(dy), static_cast<double>(dx)));
  return angle < 0.0f ? angle + static_cast<float>(kTwoPi) : angle;
}

float distance(float dy, float dx) {
  const auto y = static_cast<double>(dy), x = static_cast<double>(dx);
  return static_cast<float>(std::sqrt(y * y + x * x));
}

// How much of the blur each pixel takes: none in the middle, where it would be too small to see,
// all of it from where it passes some 2.5 reduced pixels. One channel.
Image blur_mask(const Image& reduced, const PolarGrid& grid, double power, double corner_blur_px) {
  Image mask(reduced.h, reduced.w, 1);
  const auto corner = static_cast<float>(grid.corner_px);
  const auto scale = static_cast<float>(corner_blur_px / 2.0);
  for (std::int32_t y = 0; y < mask.h; ++y) {
    float* row = &mask.at(y, 0);
    for (std::int32_t x = 0; x < mask.w; ++x)
      row[x] =
          distance(static_cast<float>(y) - grid.centre_y, static_cast<float>(x) - grid.centre_x) /
          corner;
    elementary::powf(row, static_cast<float>(power), row, mask.row_samples());
    for (std::int32_t x = 0; x < mask.w; ++x) {
      const float t = std::clamp(row[x] * scale - 0.25f, 0.0f, 1.0f);
      row[x] = (3.0f - 2.0f * t) * t * t;
    }
  }
  return mask;
}

// The value below which `share` of the samples lie, between neighbours as numpy interpolates. None
// of them may be NaN.
float interpolated_percentile(std::vector<float> values, double share) {
  const double position = share * static_cast<double>(values.size() - 1);
  const auto lower = values.begin() + static_cast<std::ptrdiff_t>(position);
  std::nth_element(values.begin(), lower, values.end());
  if (lower + 1 == values.end()) return *lower;
  const auto low = static_cast<double>(*lower);
  const auto high = static_cast<double>(*std::min_element(lower + 1, values.end()));
  const double part = position - std::floor(position);
  return static_cast<float>(part < 0.5 ? low + (high - low) * part
                                       : high - (high - low) * (1.0 - part));
}

// Where the picture is rich in fine detail it is in focus, and stays sharper.
void spare_detail(Image& mask, const Image& reduced, double detail_kept) {
  constexpr double kDetailPx = 1.6, kAreaPx = 6.0, kRichShare = 0.88;
  const Image luminance = mix_channels(reduced, kLumaR, kLumaG, kLumaB);
  Image detail = gaussian_filter(luminance, kDetailPx, kBoundaryNearest);
  for (std::size_t i = 0; i < detail.data.size(); ++i)
    detail.data[i] = std::fabs(luminance.data[i] - detail.data[i]);
  detail = gaussian_filter(detail, kAreaPx, kBoundaryNearest);
  for (float& sample : detail.data) sample = sample > 0.0f ? sample : 0.0f;  // NaN gives 0
  const float rich = std::max(1e-5f, interpolated_percentile(detail.data, kRichShare));
  const auto kept = static_cast<float>(detail_kept);
  for (std::size_t i = 0; i < mask.data.size(); ++i)
    mask.data[i] *= 1.0f - kept * std::clamp(detail.data[i] / rich, 0.0f, 1.0f);
}

// What the blur changes, in place of the reduced picture.
void keep_difference(Image& reduced, const Image& polar, const PolarGrid& grid, const Image& mask) {
  const auto rings_per_px = static_cast<float>(grid.rings_per_px());
  const auto angles_per_radian = static_cast<float>(grid.angles_per_radian());
  float* sample = reduced.data.data();
  for (std::int32_t y = 0; y < reduced.h; ++y) {
    const float dy = static_cast<float>(y) - grid.centre_y;
    for (std::int32_t x = 0; x < reduced.w; ++x, sample += 3) {
      const float share = mask.at(y, x);
      if (share == 0.0f) {
        std::fill_n(sample, 3, 0.0f);
        continue;
      }
      const float dx = static_cast<float>(x) - grid.centre_x;
      const float ring = distance(dy, dx) * rings_per_px - 0.5f;
      const float angle = direction(dy, dx) * angles_per_radian;
      const FourPixels from(polar, between(ring, grid.rings), between(angle, grid.angles));
      for (int k = 0; k < 3; ++k) sample[k] = (from.mix(polar.data.data() + k) - sample[k]) * share;
    }
  }
}

// Takes the difference at its own size and adds it at the picture's.
void add_enlarged(Image& picture, Image difference) {
  if (difference.w != picture.w || difference.h != picture.h)
    difference = resize_image(difference, picture.w, picture.h, kResizeTriangle);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = std::max(0.0f, picture.data[i] + difference.data[i]);
}

}  // namespace

std::optional<FieldReduction> field_reduction(const FieldBlur& field, std::int32_t w,
                                              std::int32_t h) {
  if (std::max({field.curvature, field.astigmatism, field.coma}) <= kLeastStrength) return {};
  const double largest_px =
      std::max(w, h) * (std::max(field.coma, field.astigmatism) + field.curvature);
  if (!(largest_px >= kLeastBlurPx)) return {};
  const double reduction = std::max(1.0, largest_px / kReducedBlurPx);
  return FieldReduction{reduced_side(w, reduction), reduced_side(h, reduction),
                        largest_px / reduction};
}

Image field_difference(Image reduced, const FieldBlur& field, const FieldReduction& reduction,
                       const RenderContext& ctx) {
  const PolarGrid grid = polar_grid(reduced.w, reduced.h);
  const Image polar = blurred_in_bands(reduced, field, grid, ctx);
  Image mask = blur_mask(reduced, grid, field.power, reduction.corner_blur_px);
  if (field.detail_kept > 1e-3) spare_detail(mask, reduced, field.detail_kept);
  keep_difference(reduced, polar, grid, mask);
  return reduced;
}

Image blur_field(Image picture, const FieldBlur& field, const RenderContext& ctx) {
  const auto reduction = field_reduction(field, picture.w, picture.h);
  if (!reduction) return picture;
  Image reduced = resize_image(picture, reduction->w, reduction->h, kResizeTriangle);
  add_enlarged(picture, field_difference(std::move(reduced), field, *reduction, ctx));
  return picture;
}

}  // namespace morva
