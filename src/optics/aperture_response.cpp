#include "optics/aperture_response.h"

#include <algorithm>

#include "image/elementary.h"

namespace morva {

namespace {

constexpr double kLeastStop = 1e-6;
constexpr double kLeastTau = 0.1;  // stops

}  // namespace

ApertureResponse aperture_response(const Json& optics, double stop) {
  const Json& response = get_object(optics, "aperture_response");
  const double residual = get_number(response, "vignette_residual", 0.3);
  if (stop <= kLeastStop) return {.vignette_residual = residual};
  const double tau_stops = std::max(kLeastTau, get_number(response, "vignette_tau", 1.4));
  const double halvings_spherical = get_number(response, "sa_falloff", 1.1) * stop;
  const double halvings_field = get_number(response, "swirl_falloff", 0.55) * stop;
  return {elementary::exp(-stop / tau_stops) * (1.0 - residual) + residual,
          elementary::pow(2.0, -halvings_spherical), elementary::pow(2.0, -halvings_field),
          residual};
}

}  // namespace morva
