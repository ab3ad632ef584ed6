#include "film/granularity.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "film/classic_grain.h"
#include "image/pairwise_sum.h"
#include "image/random.h"

namespace morva {

namespace {

constexpr double kApertureRadiusUm = 24.0;
constexpr double kReferenceDensity = 1.0;  // above base
constexpr std::size_t kColumns = 16;       // discs that are summed side by side

// A plane in double whose rows end in slack, so that a block of columns may reach past the last.
struct WidePlane {
  std::size_t stride;
  std::vector<double> data;

  explicit WidePlane(const Image& image)
      : stride(static_cast<std::size_t>(image.w) + kColumns),
        data(stride * static_cast<std::size_t>(image.h)) {
    const std::size_t w = static_cast<std::size_t>(image.w);
    for (std::size_t y = 0; y < static_cast<std::size_t>(image.h); ++y)
      std::copy_n(image.data.data() + y * w, w, data.data() + y * stride);
  }
};

// The disc's samples as steps from its bounding square's corner, row by row.
std::vector<std::size_t> disc_steps(double radius_px, std::int64_t reach, std::size_t stride) {
  std::vector<std::size_t> steps;
  for (std::int64_t dy = -reach; dy <= reach; ++dy)
    for (std::int64_t dx = -reach; dx <= reach; ++dx)
      if (static_cast<double>(dy * dy + dx * dx) <= radius_px * radius_px)
        steps.push_back(static_cast<std::size_t>(dy + reach) * stride +
                        static_cast<std::size_t>(dx + reach));
  return steps;
}

// Sums of kColumns neighbouring discs, each in the order of the steps.
void sum_discs(const double* corner, const std::vector<std::size_t>& steps, double* sums) {
  double sum[kColumns] = {};
  for (const std::size_t step : steps)
    for (std::size_t j = 0; j < kColumns; ++j) sum[j] += corner[step + j];
  std::copy_n(sum, kColumns, sums);
}

NormalSource measurement_normals() {
  return [hash = hash_key({kMeasurementKey}), start = std::uint64_t{0}](std::size_t n) mutable {
    std::vector<float> values = counter_normals(hash, start, n);
    start += n;
    return values;
  };
}

}  // namespace

double rms_aperture(const Image& density, double um_per_px) {
  const double radius_px = kApertureRadiusUm / um_per_px;
  const double least_side = std::min(density.h, density.w);
  if (!(um_per_px > 0.0 && 2.0 * std::ceil(radius_px) < least_side)) return 0.0;
  const auto reach = static_cast<std::size_t>(std::ceil(radius_px));
  const WidePlane plane(density);
  const std::vector<std::size_t> steps =
      disc_steps(radius_px, static_cast<std::int64_t>(reach), plane.stride);
  const auto disc_pixels = static_cast<double>(steps.size());
  const std::size_t rows = static_cast<std::size_t>(density.h) - 2 * reach;
  const std::size_t columns = static_cast<std::size_t>(density.w) - 2 * reach;
  std::vector<float> means(rows * columns);
  float* row_means = means.data();
  for (std::size_t y = 0; y < rows; ++y, row_means += columns) {
    for (std::size_t x = 0; x < columns; x += kColumns) {
      double sums[kColumns];
      sum_discs(&plane.data[y * plane.stride + x], steps, sums);
      for (std::size_t j = 0; j < std::min(kColumns, columns - x); ++j)
        row_means[x + j] = static_cast<float>(sums[j] / disc_pixels);
    }
  }
  return standard_deviation(means.data(), means.size());
}

double classic_sigma48(const Json& grain, double dmin, double dmax) {
  const Image even(kSheetSide, kSheetSide, 1, static_cast<float>(dmin + kReferenceDensity));
  return rms_aperture(
      add_grain_bw(even, dmin, dmax, grain, kSheetPxUm, 1.0, 1.0, measurement_normals()),
      kSheetPxUm);
}

std::array<double, 3> classic_sigma48_color(const Json& grain, const std::array<double, 3>& dmin,
                                            const std::array<double, 3>& dmax) {
  Image sheet(kSheetSide, kSheetSide, 3);
  for (std::size_t i = 0; i < sheet.data.size(); ++i)
    sheet.data[i] = static_cast<float>(dmin[i % 3] + kReferenceDensity);
  sheet = add_grain_color(std::move(sheet), dmin, dmax, grain, kSheetPxUm, 1.0, 1.0,
                          measurement_normals());
  std::array<double, 3> sigma48;
  for (int k = 0; k < 3; ++k)
    sigma48[static_cast<std::size_t>(k)] = rms_aperture(extract_channel(sheet, k), kSheetPxUm);
  return sigma48;
}

}  // namespace morva
