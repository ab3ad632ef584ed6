#include "optics/lens_parameters.h"

#include <algorithm>
#include <cmath>

#include "image/held.h"
#include "optics/filter_values.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kVeilSigma = 0.22;  // of the long side
constexpr double kPerMille = 1e-3;

// What is not above these is too small to show.
constexpr double kStraight = 1e-5;  // coefficient of distortion
constexpr double kLeastGlow = 1e-4;
constexpr double kLeastRing = 1e-3;
constexpr double kSameSize = 1e-9;  // magnification
constexpr double kSharpSigmaPx = 0.35;

double shown_above(double least, double strength) {
  return strength > least ? strength : 0.0;
}

std::array<double, 3> each_finite(std::array<double, 3> values) {
  for (double& value : values) value = held_finite(value);
  return values;
}

double bounded_number(const Json& optics, const char* key, double fallback) {
  return held_finite(get_number(optics, key, fallback));
}

double option_or(const Json& opts, const char* key, double fallback) {
  return held_finite(get(opts, key).is_null() ? fallback : get_number(opts, key, fallback));
}

std::array<double, 3> three_or_ones(const Json& optics, const char* key) {
  return each_finite(three_numbers(get(optics, key), key).value_or(std::array{1.0, 1.0, 1.0}));
}

// A blur's work grows with its reach. A sigma of two long sides leaves of a picture hardly more
// than a slope of light, and one of 2^18 px has the widest kernel there is (gaussian_radius).
double bounded_sigma(double sigma_px, double long_px) {
  return std::clamp(sigma_px, 0.0, std::min(2.0 * long_px, 0x1p18));
}

Distortion read_distortion(const Json& optics, const Json& opts) {
  const Distortion d = {bounded_number(optics, "distortion", 0.0),
                        bounded_number(optics, "distortion_k5", 0.0)};
  const Json& wanted = get(opts, "distortion");
  const bool straightened = wanted.is_boolean() && !wanted.get<bool>();
  const bool straight = std::fabs(d.k1) <= kStraight && std::fabs(d.k2) <= kStraight;
  return straight || straightened ? Distortion{0.0, 0.0} : d;
}

Bloom read_bloom(const Json& optics, double spherical, double long_px) {
  return {held_finite(bounded_number(optics, "bloom", 0.0) * spherical),
          static_cast<float>(bounded_number(optics, "bloom_threshold", 0.75)),
          three_or_ones(optics, "bloom_tint"),
          bounded_sigma(bounded_number(optics, "bloom_sigma1", 0.004) * long_px, long_px),
          bounded_sigma(bounded_number(optics, "bloom_sigma2", 0.02) * long_px, long_px),
          bounded_number(optics, "bloom_halo_mix", 0.4)};
}

Glow read_glow(const Json& optics, const Json& opts, double spherical, double long_px) {
  constexpr double kLeastSigmaPx = 0.5, kLeastFocusShiftPx = 0.4, kLeastFocusShift = 1e-5;
  Glow glow;
  glow.strength =
      shown_above(kLeastGlow, held_finite(bounded_number(optics, "glow", 0.0) * spherical *
                                          option_or(opts, "glow_mult", 1.0)));
  const double radius_px = bounded_number(optics, "glow_radius", 0.02) * long_px *
                           option_or(opts, "glow_radius_mult", 1.0);
  glow.sigma_px = three_or_ones(optics, "glow_chroma");
  for (double& sigma : glow.sigma_px)
    sigma = std::max(kLeastSigmaPx, bounded_sigma(radius_px * sigma, long_px));
  glow.ring =
      shown_above(kLeastRing, std::clamp(bounded_number(optics, "glow_ring", 0.0), 0.0, 0.95));
  const double shift = bounded_number(optics, "glow_focus_shift", 0.0) * glow.strength;
  glow.focus_shift_sigma_px =
      shift > kLeastFocusShift
          ? std::max(kLeastFocusShiftPx, bounded_sigma(long_px * shift, long_px))
          : 0.0;
  return glow;
}

// A negative power would blur the middle of the field most, which no lens does; it counts as 0.
FieldBlur read_field(const Json& optics, const ApertureResponse& response) {
  return {bounded_number(optics, "field_curvature", 0.0) * response.field,
          bounded_number(optics, "astigmatism", 0.0) * response.field,
          bounded_number(optics, "coma", 0.0) * response.spherical,
          std::max(0.0, bounded_number(optics, "field_power", 2.0)),
          std::clamp(bounded_number(optics, "defocus_bias", 0.0), 0.0, 1.0)};
}

Softness read_softness(const Json& optics, double spherical, double long_px) {
  constexpr double kLeastSigmaPx = 0.3;
  const double soften = bounded_number(optics, "soften", 0.0) * spherical;
  const double sigma_px = bounded_sigma(soften * kPerMille * long_px, long_px);
  return {soften > 0.0 ? std::max(kLeastSigmaPx, sigma_px) : 0.0,
          bounded_number(optics, "soften_mix", 0.6)};
}

std::array<double, 3> read_axial_colour(const Json& optics, double spherical, double long_px) {
  std::array<double, 3> sigma_px =
      each_finite(channel_values(optics, "chroma_soft", {0.0, 0.0, 0.0}));
  for (double& sigma : sigma_px)
    sigma =
        shown_above(kSharpSigmaPx, bounded_sigma(sigma * kPerMille * long_px * spherical, long_px));
  return sigma_px;
}

// Anything but three plain numbers is clear glass.
std::optional<std::array<double, 3>> read_transmission(const Json& optics) {
  const Json& cast = get(optics, "cast");
  const bool plain =
      cast.is_array() && std::all_of(cast.begin(), cast.end(),
                                     [](const Json& element) { return element.is_number(); });
  const auto shares = plain ? three_numbers(cast, "cast") : std::nullopt;
  if (!shares) return std::nullopt;
  return each_finite(*shares);
}

const Json& optics_of(const Json& lens) {
  return has(lens, "optics") ? get(lens, "optics") : lens;
}

}  // namespace

LensAperture lens_aperture(const Json& lens, const Json& opts) {
  const Json& optics = optics_of(lens);
  LensAperture aperture;
  aperture.stop = option_or(opts, "stop", 0.0);
  const ApertureResponse shares = aperture_response(optics, aperture.stop);
  aperture.shares = {held_finite(shares.vignetting), held_finite(shares.spherical),
                     held_finite(shares.field), held_finite(shares.vignette_residual)};
  return aperture;
}

LensParameters read_lens(const Json& lens, const Json& opts, std::int32_t w_px, std::int32_t h_px) {
  const Json& optics = optics_of(lens);
  const ApertureResponse response = lens_aperture(lens, opts).shares;
  const double long_px = std::max(w_px, h_px);
  LensParameters p;
  p.distortion = read_distortion(optics, opts);
  p.veil = {bounded_number(optics, "veil", 0.0), bounded_sigma(kVeilSigma * long_px, long_px)};
  p.bloom = read_bloom(optics, response.spherical, long_px);
  p.glow = read_glow(optics, opts, response.spherical, long_px);
  p.field = read_field(optics, response);
  p.lateral_colour = shown_above(kSameSize, bounded_number(optics, "ca", 0.0));
  p.vignette = {bounded_number(optics, "vignette", 0.0) * response.vignetting,
                static_cast<float>(bounded_number(optics, "vignette_power", 2.5))};
  p.softness = read_softness(optics, response.spherical, long_px);
  p.axial_sigma_px = read_axial_colour(optics, response.spherical, long_px);
  p.transmission = read_transmission(optics);
  return p;
}

}  // namespace morva
