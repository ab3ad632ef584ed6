#include "repro/video_signal.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "image/elementary.h"
#include "image/filters.h"
#include "image/held.h"
#include "image/resample.h"

namespace morva {

namespace {

constexpr double kLeastOverscan = 0.0001;
constexpr double kMostOverscan = 0.45;
constexpr float kSignalGamma = 2.2f;
constexpr float kInverseGamma = 0.45454547f;
// A Gaussian of this sigma, in periods, passes three tenths of a wave.
constexpr double kSigmaPeriods = 0.2469;
constexpr double kDirectSigmaPx = 10.0;  // a wider blur goes through a shorter row
constexpr double kReducedSigmaPx = 6.0;
constexpr double kShortestRowPx = 16.0;
constexpr int kBandRows = 64;

// Luma and the two colour differences of the European colour system, BT.470.
constexpr float kLumaOfR = 0.299f, kLumaOfG = 0.587f, kLumaOfB = 0.114f;
constexpr float kUOfBlue = 0.436f / 0.886f;  // of B - Y
constexpr float kVOfRed = 0.615f / 0.701f;   // of R - Y

struct Signals {
  Image y, u, v;
};

double sigma_px(double tv_lines, int width) {
  return kSigmaPeriods * width / (std::max(1.0, tv_lines) * 0.5);
}

Image blurred_along_rows(const Image& rows, double sigma) {
  const std::vector<double> kernel = gaussian_kernel(sigma, gaussian_radius(sigma));
  if (kernel.size() == 1) return rows;
  Image blurred(rows.h, rows.w, 1);
  correlate1d(rows.data.data(), blurred.data.data(), rows.h, rows.w, true, kernel,
              kBoundaryNearest);
  return blurred;
}

Image smoothed(Image rows, double sigma) {
  if (!(sigma > kDirectSigmaPx)) return blurred_along_rows(rows, sigma);
  const int width = rows.w;
  const auto reduced =
      static_cast<int>(std::max(kShortestRowPx, std::nearbyint(width * kReducedSigmaPx / sigma)));
  rows = resize_image(rows, reduced, rows.h, kResizeTriangle);
  rows = blurred_along_rows(rows, sigma * reduced / width);
  return resize_image(rows, width, rows.h, kResizeTriangle);
}

Signals encoded(float* rgb, int rows, int width) {
  Signals signals = {Image(rows, width, 1), Image(rows, width, 1), Image(rows, width, 1)};
  const std::size_t n = signals.y.data.size();
  for (std::size_t i = 0; i < 3 * n; ++i) rgb[i] = rgb[i] > 0.0f ? rgb[i] : 0.0f;
  elementary::powf(rgb, kInverseGamma, rgb, 3 * n);
  for (std::size_t i = 0; i < n; ++i, rgb += 3) {
    const float y = kLumaOfR * rgb[0] + kLumaOfG * rgb[1] + kLumaOfB * rgb[2];
    signals.y.data[i] = y;
    signals.u.data[i] = kUOfBlue * (rgb[2] - y);
    signals.v.data[i] = kVOfRed * (rgb[0] - y);
  }
  return signals;
}

void decode(const Signals& signals, float* rgb) {
  const std::size_t n = signals.y.data.size();
  float* p = rgb;
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    const float y = signals.y.data[i];
    const float red = y + signals.v.data[i] / kVOfRed;
    const float blue = y + signals.u.data[i] / kUOfBlue;
    const float green = (y - kLumaOfR * red - kLumaOfB * blue) / kLumaOfG;
    p[0] = std::max(0.0f, red), p[1] = std::max(0.0f, green), p[2] = std::max(0.0f, blue);
  }
  elementary::powf(rgb, kSignalGamma, rgb, 3 * n);
}

// Rows or columns lost at either end, so that something is left between them.
int cut_from(int side, double share) {
  return std::min(static_cast<int>(std::nearbyint(side * share)), (side - 1) / 2);
}

}  // namespace

Image cut_overscan(Image picture, double share) {
  const double cut = held(share, 0.0, kMostOverscan);
  const int rows = cut_from(picture.h, cut), columns = cut_from(picture.w, cut);
  if (cut <= kLeastOverscan || (rows == 0 && columns == 0)) return picture;
  Image middle(picture.h - 2 * rows, picture.w - 2 * columns, picture.c);
  for (int y = 0; y < middle.h; ++y)
    std::copy_n(&picture.at(y + rows, columns), middle.row_samples(), &middle.at(y, 0));
  const int h = picture.h, w = picture.w;
  picture = Image();
  return resize_image(middle, w, h, kResizeBicubic);
}

void limit_bandwidth(Image& signal, const VideoBand& band) {
  const double luma_px = sigma_px(band.luma_lines, signal.w);
  const double chroma_px = sigma_px(band.chroma_lines, signal.w);
  for (int y = 0; y < signal.h; y += kBandRows) {
    float* rgb = &signal.at(y, 0);
    Signals signals = encoded(rgb, std::min(kBandRows, signal.h - y), signal.w);
    signals.y = smoothed(std::move(signals.y), luma_px);
    signals.u = smoothed(std::move(signals.u), chroma_px);
    signals.v = smoothed(std::move(signals.v), chroma_px);
    decode(signals, rgb);
  }
}

}  // namespace morva
