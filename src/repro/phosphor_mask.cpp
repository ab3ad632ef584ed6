#include "repro/phosphor_mask.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>
#include <vector>

#include "image/filters.h"
#include "image/held.h"

namespace morva {

namespace {

constexpr double kThinnestFill = 0.05;
constexpr double kSamplesPerPx = 16.0;  // of the period that is drawn
constexpr double kLeastSamples = 16.0;
constexpr double kMostSamples = 768.0;
constexpr double kRowsOfPeriod = std::numbers::sqrt3 / 2.0 / 3.0;

// Distance to the nearest of places a `period` apart, one of which is 0.
double to_nearest(double at, double period) {
  return std::fabs(at - period * std::nearbyint(at / period));
}

// Dots of one colour stand a period apart in every row, and half a period aside in every other, so
// that each is the same way from its six neighbours.
double from_dot(double x, double y, double period_px) {
  const double row_px = kRowsOfPeriod * period_px;
  const double even = to_nearest(x, period_px), odd = to_nearest(x + period_px / 2.0, period_px);
  const double even_row = to_nearest(y, 2.0 * row_px),
               odd_row = to_nearest(y - row_px, 2.0 * row_px);
  return std::sqrt(std::min(even * even + even_row * even_row, odd * odd + odd_row * odd_row));
}

// A pixel gathers the light of its whole width: `samples` of them, the two at the ends in part.
// Met as a point, it would beat with the third and sixth harmonic of the mask, where the three
// colours fall together.
std::vector<double> box_weights(double samples) {
  const double half = samples / 2.0;
  const auto reach = static_cast<int>(half + 0.5);
  std::vector<double> weights;
  for (int k = -reach; k <= reach; ++k)
    weights.push_back(std::clamp(half + 0.5 - std::abs(k), 0.0, std::min(1.0, samples)) / samples);
  return weights;
}

Image gathered_in_pixels(Image dots, double width_px, double height_px) {
  for (const bool along_rows : {true, false}) {
    if (!along_rows && dots.h == 1) break;
    Image gathered(dots.h, dots.w, 1);
    correlate1d(dots.data.data(), gathered.data.data(), dots.h, dots.w, along_rows,
                box_weights(along_rows ? dots.w / width_px : dots.h / height_px), kBoundaryWrap);
    dots = std::move(gathered);
  }
  return dots;
}

void scale_to_mean_one(Image& plane) {
  double sum = 0.0;
  for (const float v : plane.data) sum += static_cast<double>(v);
  const auto gain = static_cast<float>(static_cast<double>(plane.pixels()) / sum);
  for (float& v : plane.data) v *= gain;
}

int samples(double length_px) {
  return static_cast<int>(held(std::ceil(kSamplesPerPx * length_px), kLeastSamples, kMostSamples));
}

// Which of the period's samples a pixel falls on.
int sample_at(int pixel, double phase_px, double period_px, int count) {
  const double at = (pixel + 0.5 + phase_px) / period_px;
  return std::clamp(static_cast<int>((at - std::floor(at)) * count), 0, count - 1);
}

// The phosphors of one colour, the first at the corner. Edges run over one sample.
void draw_phosphors(Image& plane, const PhosphorMask& mask, double height_px) {
  const double width_px = mask.period_px, sample_px = width_px / plane.w;
  const double radius_px = held(mask.fill, kThinnestFill, 1.0) * width_px / 6.0;
  float* out = plane.data.data();
  for (int j = 0; j < plane.h; ++j)
    for (int i = 0; i < plane.w; ++i) {
      const double x = (i + 0.5) * sample_px, y = (j + 0.5) / plane.h * height_px;
      const double away = mask.stripes ? to_nearest(x, width_px) : from_dot(x, y, width_px);
      *out++ = static_cast<float>(std::clamp((radius_px - away) / sample_px + 0.5, 0.0, 1.0));
    }
}

}  // namespace

MaskPeriod draw_mask_period(const PhosphorMask& mask) {
  const double width_px = mask.period_px;
  MaskPeriod period;
  period.height_px = mask.stripes ? 1.0 : 2.0 * kRowsOfPeriod * width_px;
  const int third = (samples(width_px) + 2) / 3;
  Image red(mask.stripes ? 1 : samples(period.height_px), 3 * third, 1);
  draw_phosphors(red, mask, period.height_px);
  red = gathered_in_pixels(std::move(red), width_px, period.height_px);
  scale_to_mean_one(red);
  period.light = Image(red.h, red.w, 3);
  for (int y = 0; y < red.h; ++y)
    for (int x = 0; x < red.w; ++x)
      for (int k = 0; k < 3; ++k) period.light.at(y, (x + k * third) % red.w, k) = red.at(y, x);
  return period;
}

void light_phosphors(Image& picture, const PhosphorMask& mask) {
  MaskPeriod period = draw_mask_period(mask);
  const auto depth = static_cast<float>(held(mask.depth, 0.0, 1.0));
  for (float& v : period.light.data) v = 1.0f + depth * (v - 1.0f);
  std::vector<int> across(static_cast<std::size_t>(picture.w));
  for (int x = 0; x < picture.w; ++x)
    across[x] = sample_at(x, mask.phase_across * mask.period_px, mask.period_px, period.light.w);
  for (int y = 0; y < picture.h; ++y) {
    const int row =
        sample_at(y, mask.phase_down * mask.period_px, period.height_px, period.light.h);
    const float* lights = &period.light.at(row, 0);
    float* p = &picture.at(y, 0);
    for (const int sample : across) {
      const float* light = lights + 3 * sample;
      p[0] *= light[0], p[1] *= light[1], p[2] *= light[2];
      p += 3;
    }
  }
}

}  // namespace morva
