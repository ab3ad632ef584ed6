#include "image/planck.h"

#include <algorithm>

#include "image/image.h"

namespace morva {

namespace {

constexpr double kCoolestK = 1667.0;
constexpr double kHottestK = 25000.0;
constexpr double kFaintest = 1e-6;

struct Chromaticity {
  double x;
  double y;
};

// CIE 1931 chromaticity of the Planck locus as cubic splines in 1/T: Kim et al. 2002. `t` in
// kelvin.
Chromaticity planck_locus(double t) {
  const double t2 = t * t;
  const double t3 = t2 * t;
  const double x = t <= 4000.0 ? -2.661239e8 / t3 - 234358.9 / t2 + 877.6956 / t + 0.17991
                               : -3.0258469e9 / t3 + 2107037.9 / t2 + 222.6347 / t + 0.24039;
  const double x2 = x * x;
  const double x3 = x2 * x;
  if (t <= 2222.0) return {x, -1.1063814 * x3 - 1.3481102 * x2 + 2.18555832 * x - 0.20219683};
  if (t <= 4000.0) return {x, -0.9549476 * x3 - 1.37418593 * x2 + 2.09137015 * x - 0.16748867};
  return {x, 3.081758 * x3 - 5.8733867 * x2 + 3.75112997 * x - 0.37001483};
}

}  // namespace

std::array<float, 3> planck_rgb(double kelvin) {
  const auto [x, y] = planck_locus(std::clamp(kelvin, kCoolestK, kHottestK));
  const double X = x / y;
  const double Z = (1.0 - x - y) / y;
  // XYZ to linear sRGB, IEC 61966-2-1, at Y = 1.
  const double rgb[3] = {3.2406 * X - 1.5372 - 0.4986 * Z, 1.8758 - 0.9689 * X + 0.0415 * Z,
                         0.0557 * X - 0.204 + 1.057 * Z};
  std::array<float, 3> light;
  for (int k = 0; k < 3; ++k) light[k] = static_cast<float>(std::max(rgb[k], kFaintest));
  return light;
}

std::array<double, 3> temperature_ratio(double scene_k, double film_k) {
  const std::array<float, 3> scene = planck_rgb(scene_k);
  const std::array<float, 3> film = planck_rgb(film_k);
  std::array<double, 3> ratio;
  for (int k = 0; k < 3; ++k)
    ratio[k] = static_cast<double>(scene[k]) / static_cast<double>(film[k]);
  return ratio;
}

std::array<float, 3> gains_at_luminance_1(const std::array<double, 3>& ratio) {
  const double luminance = static_cast<double>(kLumaG) * ratio[1] +
                           static_cast<double>(kLumaR) * ratio[0] +
                           static_cast<double>(kLumaB) * ratio[2];
  std::array<float, 3> gains;
  for (int k = 0; k < 3; ++k) gains[k] = static_cast<float>(ratio[k] / luminance);
  return gains;
}

std::array<float, 3> temperature_gains(double scene_k, double film_k) {
  return gains_at_luminance_1(temperature_ratio(scene_k, film_k));
}

}  // namespace morva
