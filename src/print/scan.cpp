#include "print/scan.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "film/couplers.h"
#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"
#include "image/resample.h"
#include "print/paper.h"

namespace morva {

namespace {

constexpr double kLeast = 1e-6;
constexpr double kOrdinaryDmax = 3.6;  // of a scanner that states none
constexpr double kMostStops = 60.0;    // of exposure, either way
constexpr double kMostStrength = 1e6;  // of anything else; no scanner comes near
constexpr double kSoftest = 0.01;      // exponent of contrast; at none black would be white
constexpr float kDarkestLight = 1e-6f;

double strength(const Json& scan, const char* key, double fallback) {
  return held(get_number(scan, key, fallback), 0.0, kMostStrength);
}

void add_flare(Image& positive, double flare) {
  if (flare == 0.0) return;
  const auto added = static_cast<float>(flare), white = static_cast<float>(1.0 + flare);
  for (float& v : positive.data) v = (v + added) / white;
}

// What is darker than the scanner's Dmax drowns in it; the colour of the rest is kept.
void take_off_darkest(Image& positive, const ScanParams::Black& black) {
  constexpr float least_mean = 1e-9f;
  float* p = positive.data.data();
  for (std::size_t i = 0; i < positive.pixels(); ++i, p += 3) {
    const float mean = layer_mean(p);
    const float kept = std::max(mean - black.light, 0.0f) / std::max(mean, least_mean);
    for (int k = 0; k < 3; ++k) p[k] = p[k] * kept / black.range;
  }
}

void expose(Image& positive, double gain) {
  if (gain == 1.0) return;
  const auto factor = static_cast<float>(gain);
  for (float& v : positive.data) v *= factor;
}

void bend_contrast(float* row, std::size_t n, float exponent) {
  for (std::size_t i = 0; i < n; ++i) row[i] = std::clamp(row[i], 0.0f, 1.0f);
  elementary::powf(row, exponent, row, n);
}

void bend_ends(float* row, std::size_t n, const HdCurve& ends) {
  const auto dmax = static_cast<float>(ends.dmax);
  for (std::size_t i = 0; i < n; ++i) row[i] = std::max(row[i], kDarkestLight);
  elementary::log10f(row, row, n);
  for (std::size_t i = 0; i < n; ++i) row[i] = std::clamp(-row[i], 0.0f, dmax);
  soften_ends(ends, row, n);
  for (std::size_t i = 0; i < n; ++i) row[i] = -row[i];
  elementary::exp10f(row, row, n);
}

void bend(Image& positive, const ScanParams& params) {
  const bool contrast = has_contrast(params), ends = has_ends(params);
  const std::size_t n = positive.row_samples();
  for (int y = 0; y < positive.h; ++y) {
    float* row = &positive.data[static_cast<std::size_t>(y) * n];
    if (contrast) bend_contrast(row, n, static_cast<float>(params.contrast));
    if (ends) bend_ends(row, n, params.ends);
  }
}

// Unsharp masking.
void sharpen(Image& image, double sigma_px, float factor) {
  const Image soft = blur_image(image, sigma_px);
  for (std::size_t i = 0; i < image.data.size(); ++i) {
    float& v = image.data[i];
    v = std::max(0.0f, v + (v - soft.data[i]) * factor);
  }
}

void press_highlights(Image& image, float knee) {
  for (float& v : image.data)
    if (v > knee) v = knee + (v - knee) * kPressedSlope;
}

// A blur of more than the picture's long side would leave no picture.
double within_picture(double sigma_px, PixelSize size) {
  return std::min<double>(sigma_px, std::max(size.h, size.w));
}

}  // namespace

ScanParams scan_params(const Json& paper, const Json& options) {
  const Json& scan = get_object(paper, "scan");
  ScanParams params;
  if (const double flare = strength(scan, "flare", 0.0); flare > kLeast) params.flare = flare;
  double dmax = kOrdinaryDmax;
  if (!get(scan, "positive_dmax").is_null()) {
    dmax = strength(scan, "positive_dmax", 0.0);
    const double darkest = elementary::pow(10.0, -dmax);
    params.black = {static_cast<float>(darkest), static_cast<float>(std::max(1.0 - darkest, 1e-9))};
  }
  const double print_ev = held(get_number(options, "print_ev", 0.0), -kMostStops, kMostStops);
  if (!truthy(get(paper, "fixed_exposure")) && std::fabs(print_ev) > kLeast)
    params.gain = elementary::pow(2.0, -print_ev);
  params.contrast = held(get_number(scan, "positive_gamma", 1.0), kSoftest, kMostStrength);
  params.ends.dmax = dmax;
  params.ends.dmid = kGreyDensity;
  if (truthy(get(paper, "fixed_grade"))) return params;
  const double of_grade = 0.6 + 0.2 * get_number(options, "grade", 2.0);
  params.contrast = held(params.contrast * of_grade, kSoftest, kMostStrength);
  const double black = get_number(options, "print_black", 0.0);
  const double white = get_number(options, "print_white", 0.0);
  if (black > kLeast || white > kLeast) set_soft_ends(params.ends, black, white);
  return params;
}

bool has_ends(const ScanParams& params) {
  return params.ends.shoulder_cut > 0.0 || params.ends.toe_lift > 0.0;
}

bool has_contrast(const ScanParams& params) {
  return std::fabs(params.contrast - 1.0) > kLeast;
}

Image scan_positive(Image positive, const Json& paper, const Json& options) {
  const ScanParams params = scan_params(paper, options);
  add_flare(positive, params.flare);
  if (params.black) take_off_darkest(positive, *params.black);
  expose(positive, params.gain);
  bend(positive, params);
  clamp_to_sheet(positive);
  return positive;
}

PixelSize scan_file_size(PixelSize positive, const Json& paper) {
  const double wanted =
      std::trunc(held(get_number_or(get_object(paper, "scan"), "long_px", 0.0, 0.0), 0.0, 1e9));
  const int long_side = std::max(positive.h, positive.w);
  if (wanted < 1.0 || wanted >= long_side) return positive;
  const auto scaled = [&](int side) {
    return std::max(1, static_cast<int>(std::nearbyint(side * wanted / long_side)));
  };
  return {scaled(positive.w), scaled(positive.h)};
}

ScanFileParams scan_file_params(PixelSize positive, const Json& paper) {
  constexpr double optics_of_height = 0.0016, least_optics_px = 0.4, least_sharpen_px = 0.5;
  constexpr double sharpen_gain = 1.5;
  const Json& scan = get_object(paper, "scan");
  ScanFileParams file;
  if (const double mtf = strength(scan, "mtf", 0.0); mtf > 0.001)
    file.optics_sigma_px =
        within_picture(std::max(least_optics_px, mtf * optics_of_height * positive.h), positive);
  file.size = scan_file_size(positive, paper);
  if (const double amount = strength(scan, "sharpen", 0.0); amount > 0.001) {
    const double sigma_px = strength(scan, "sharpen_frac", 0.0007) * file.size.h;
    file.sharpen_sigma_px = within_picture(std::max(least_sharpen_px, sigma_px), file.size);
    file.sharpen = static_cast<float>(sharpen_gain * amount);
  }
  if (const double clip = strength(scan, "highlight_clip", 0.0); clip > 0.0001)
    file.knee = static_cast<float>(1.0 - clip);
  return file;
}

Image scan_finish(Image positive, const Json& paper) {
  const ScanFileParams file = scan_file_params({positive.w, positive.h}, paper);
  if (file.optics_sigma_px > 0.0) positive = blur_image(positive, file.optics_sigma_px);
  if (file.size.w != positive.w || file.size.h != positive.h)
    positive = resize_image(positive, file.size.w, file.size.h, kResizeLanczos);
  if (file.sharpen > 0.0f) sharpen(positive, file.sharpen_sigma_px, file.sharpen);
  if (file.knee) press_highlights(positive, *file.knee);
  clamp_to_sheet(positive);
  return positive;
}

}  // namespace morva
