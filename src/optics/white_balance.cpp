#include "optics/white_balance.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "image/elementary.h"
#include "image/planck.h"
#include "profiles/film.h"

namespace morva {

namespace {

constexpr double kLeastShift = 1e-6;
constexpr double kCoolestMired = 600.0;
constexpr double kHottestMired = 40.0;
constexpr double kTintToDecades = 0.0006;  // log10 of the green gain for one unit of tint
constexpr double kMostDecades = 300.0;     // within the range of double

double shifted_kelvin(double kelvin, double shift_mired) {
  return 1e6 / std::clamp(1e6 / kelvin + shift_mired, kHottestMired, kCoolestMired);
}

}  // namespace

std::optional<std::array<float, 3>> wb_gains(const Json& film, const Json& opts) {
  const double shift_mired = get_number(opts, "wb_temp", 0.0);
  const double tint = get_number(opts, "wb_tint", 0.0);
  if (std::fabs(shift_mired) <= kLeastShift && std::fabs(tint) <= kLeastShift) return {};

  const double film_k = film_illuminant_k(film);
  std::array<double, 3> ratio = temperature_ratio(shifted_kelvin(film_k, shift_mired), film_k);
  ratio[1] *=
      elementary::pow(10.0, std::clamp(-tint * kTintToDecades, -kMostDecades, kMostDecades));
  return gains_at_luminance_1(ratio);
}

Image apply_wb(Image image, const Json& film, const Json& opts) {
  if (const auto gains = wb_gains(film, opts)) scale_channels(image, gains->data());
  return image;
}

}  // namespace morva
