#include "optics/aperture_response.h"

#include <algorithm>

#include "image/elementary.h"

namespace morva {

namespace {

constexpr double kFullAperture = 1e-6;  // stops
constexpr double kLeastTau = 0.1;       // stops

}  // namespace

ApertureResponse aperture_response(const Json& optics, double stop) {
  if (stop <= kFullAperture) return {};
  const Json& response = get_object(optics, "aperture_response");
  const double tau_stops = std::max(kLeastTau, get_number(response, "vignette_tau", 1.4));
  const double residual = vignette_residual(optics);
  const double halvings_spherical = get_number(response, "sa_falloff", 1.1) * stop;
  const double halvings_field = get_number(response, "swirl_falloff", 0.55) * stop;
  return {elementary::exp(-stop / tau_stops) * (1.0 - residual) + residual,
          elementary::pow(2.0, -halvings_spherical), elementary::pow(2.0, -halvings_field)};
}

double vignette_residual(const Json& optics) {
  return get_number(get_object(optics, "aperture_response"), "vignette_residual", 0.3);
}

}  // namespace morva
