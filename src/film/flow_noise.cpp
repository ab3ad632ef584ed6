#include "film/flow_noise.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "image/filters.h"
#include "image/resample.h"

namespace morva {

namespace {

constexpr double kCellsPerScale = 3.0;
constexpr double kSmoothCells = 1.0;      // sigma: correlation exp(-(cells / 2)^2)
constexpr double kSamplesPerScale = 6.0;  // of the raster that is enlarged to the picture's
constexpr int kMarginCells = 4;
constexpr double kMostCells = 1024.0;
constexpr double kFinestSigmaPx = 0.45;

double plate_mm(int pixels, double px_um) {
  return pixels * std::max(px_um, 1e-6) / 1000.0;
}

// Deviation of white noise of unit variance after a Gaussian along both axes.
double deviation_after(double sigma) {
  double squares = 0.0;
  for (const double w : gaussian_kernel(sigma, gaussian_radius(sigma))) squares += w * w;
  return squares;
}

Image white_noise(int h, int w, Rng& rng) {
  Image noise(h, w, 1);
  fill_counter_normals(rng.next(), 0, noise.data.size(), noise.data.data());
  return noise;
}

int cells_over(double length_mm, double pitch_mm) {
  return static_cast<int>(std::ceil(std::clamp(length_mm / pitch_mm, 1.0, kMostCells)));
}

// A smooth lattice in the flow's own axes: u along it, v across.
struct FlowLattice {
  Image noise;  // rows along v, columns along u
  double cells_per_mm_u, cells_per_mm_v;
};

FlowLattice flow_lattice(double reach_mm, const PlateFlow& flow, Rng& rng) {
  const double pitch_v = flow.scale_mm / kCellsPerScale;
  const int nu = cells_over(reach_mm, pitch_v * flow.anisotropy);
  const int nv = cells_over(reach_mm, pitch_v);
  FlowLattice lattice;
  lattice.noise = white_noise(nv + 2 * kMarginCells, nu + 2 * kMarginCells, rng);
  lattice.noise = gaussian_filter(lattice.noise, kSmoothCells, kBoundaryReflect);
  lattice.cells_per_mm_u = std::min(1.0 / (pitch_v * flow.anisotropy), nu / reach_mm);
  lattice.cells_per_mm_v = std::min(1.0 / pitch_v, nv / reach_mm);
  return lattice;
}

// Catmull and Rom's cubic through four neighbours.
std::array<double, 4> cubic_weights(double t) {
  return {((-0.5 * t + 1.0) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1.0,
          ((-1.5 * t + 2.0) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
}

double lattice_at(const Image& noise, double u, double v) {
  const int iu = std::clamp(static_cast<int>(std::floor(u)), 1, noise.w - 3);
  const int iv = std::clamp(static_cast<int>(std::floor(v)), 1, noise.h - 3);
  const auto along = cubic_weights(std::clamp(u - iu, 0.0, 1.0));
  const auto across = cubic_weights(std::clamp(v - iv, 0.0, 1.0));
  double sum = 0.0;
  for (int row = 0; row < 4; ++row) {
    double line = 0.0;
    for (int k = 0; k < 4; ++k)
      line += along[k] * static_cast<double>(noise.at(iv - 1 + row, iu - 1 + k));
    sum += across[row] * line;
  }
  return sum;
}

double fine_sigma_px(double px_um, double scale_um) {
  return scale_um / std::max(px_um, 1e-6);
}

}  // namespace

Image flow_noise(int h, int w, double px_um, const PlateFlow& flow, Rng& rng) {
  const double height_mm = plate_mm(h, px_um);
  const double width_mm = plate_mm(w, px_um);
  const double diagonal_mm = std::sqrt(height_mm * height_mm + width_mm * width_mm);
  const FlowLattice lattice = flow_lattice(diagonal_mm, flow, rng);
  const double cos_flow = width_mm / diagonal_mm;
  const double sin_flow = height_mm / diagonal_mm;

  const double step_mm = flow.scale_mm / kSamplesPerScale;
  Image samples(std::min(h, cells_over(height_mm, step_mm) + 1),
                std::min(w, cells_over(width_mm, step_mm) + 1), 1);
  const double unit = deviation_after(kSmoothCells);
  for (int i = 0; i < samples.h; ++i) {
    const double y_mm = (i + 0.5) * height_mm / samples.h;
    const double down = flow.corner.below ? height_mm - y_mm : y_mm;
    for (int j = 0; j < samples.w; ++j) {
      const double x_mm = (j + 0.5) * width_mm / samples.w;
      const double aside = flow.corner.right ? width_mm - x_mm : x_mm;
      const double u_mm = aside * cos_flow + down * sin_flow;
      const double v_mm = 0.5 * diagonal_mm + down * cos_flow - aside * sin_flow;
      const double value = lattice_at(lattice.noise, kMarginCells + u_mm * lattice.cells_per_mm_u,
                                      kMarginCells + v_mm * lattice.cells_per_mm_v);
      samples.at(i, j) = static_cast<float>(value / unit);
    }
  }
  return pil_resize(samples, w, h, kResizeBicubic);
}

double fine_noise_deviation(double px_um, double scale_um) {
  return std::min(fine_sigma_px(px_um, scale_um) / kFinestSigmaPx, 1.0);
}

Image fine_noise(int h, int w, double px_um, double scale_um, Rng& rng) {
  const double longest = std::max(h, w);
  const double sigma_px =
      std::clamp(fine_sigma_px(px_um, scale_um), kFinestSigmaPx, std::max(longest, kFinestSigmaPx));
  Image noise = gaussian_filter(white_noise(h, w, rng), sigma_px, kBoundaryWrap);
  const auto gain =
      static_cast<float>(fine_noise_deviation(px_um, scale_um) / deviation_after(sigma_px));
  for (float& v : noise.data) v *= gain;
  return noise;
}

}  // namespace morva
