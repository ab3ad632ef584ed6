#include "optics/lens_parameters.h"

#include <algorithm>
#include <string>

#include "optics/aperture_response.h"
#include "optics/filter_values.h"
#include "profiles/number_arrays.h"

namespace morva {

namespace {

constexpr double kVeilSigma = 0.22;  // of the long side
constexpr double kPerMille = 1e-3;

double option_or(const Json& opts, const char* key, double fallback) {
  return get(opts, key).is_null() ? fallback : get_number(opts, key, fallback);
}

std::array<double, 3> three_or_ones(const Json& optics, const char* key) {
  return three_numbers(get(optics, key), key).value_or(std::array{1.0, 1.0, 1.0});
}

Distortion read_distortion(const Json& optics, const Json& opts) {
  const Distortion d = {get_number(optics, "distortion", 0.0),
                        get_number(optics, "distortion_k5", 0.0)};
  const Json& wanted = get(opts, "distortion");
  const bool straightened = wanted.is_boolean() && !wanted.get<bool>();
  return straightened ? Distortion{0.0, 0.0} : d;
}

Bloom read_bloom(const Json& optics, double spherical, double long_px) {
  return {get_number(optics, "bloom", 0.0) * spherical,
          static_cast<float>(get_number(optics, "bloom_threshold", 0.75)),
          three_or_ones(optics, "bloom_tint"),
          get_number(optics, "bloom_sigma1", 0.004) * long_px,
          get_number(optics, "bloom_sigma2", 0.02) * long_px,
          get_number(optics, "bloom_halo_mix", 0.4)};
}

Glow read_glow(const Json& optics, const Json& opts, double spherical, double long_px) {
  constexpr double kLeastSigmaPx = 0.5, kLeastFocusShiftPx = 0.4, kLeastFocusShift = 1e-5;
  Glow glow;
  glow.strength = get_number(optics, "glow", 0.0) * spherical * option_or(opts, "glow_mult", 1.0);
  const double radius_px =
      get_number(optics, "glow_radius", 0.02) * long_px * option_or(opts, "glow_radius_mult", 1.0);
  glow.sigma_px = three_or_ones(optics, "glow_chroma");
  for (double& sigma : glow.sigma_px) sigma = std::max(kLeastSigmaPx, radius_px * sigma);
  glow.ring = std::clamp(get_number(optics, "glow_ring", 0.0), 0.0, 0.95);
  const double shift = get_number(optics, "glow_focus_shift", 0.0) * glow.strength;
  glow.focus_shift_sigma_px =
      shift > kLeastFocusShift ? std::max(kLeastFocusShiftPx, long_px * shift) : 0.0;
  return glow;
}

FieldBlur read_field(const Json& optics, const ApertureResponse& left) {
  return {get_number(optics, "field_curvature", 0.0) * left.field,
          get_number(optics, "astigmatism", 0.0) * left.field,
          get_number(optics, "coma", 0.0) * left.spherical, get_number(optics, "field_power", 2.0),
          get_number(optics, "defocus_bias", 0.0)};
}

Softness read_softness(const Json& optics, double spherical, double long_px) {
  constexpr double kLeastSigmaPx = 0.3;
  const double soften = get_number(optics, "soften", 0.0) * spherical;
  return {soften > 0.0 ? std::max(kLeastSigmaPx, soften * kPerMille * long_px) : 0.0,
          get_number(optics, "soften_mix", 0.6)};
}

std::array<double, 3> read_axial_colour(const Json& optics, double spherical, double long_px) {
  std::array<double, 3> sigma_px = channel_values(optics, "chroma_soft", {0.0, 0.0, 0.0});
  for (double& sigma : sigma_px) sigma = sigma * kPerMille * long_px * spherical;
  return sigma_px;
}

// Anything but three plain numbers is clear glass.
std::optional<std::array<double, 3>> read_transmission(const Json& optics) {
  const Json& cast = get(optics, "cast");
  const bool plain =
      cast.is_array() && std::all_of(cast.begin(), cast.end(),
                                     [](const Json& element) { return element.is_number(); });
  return plain ? three_numbers(cast, "cast") : std::nullopt;
}

}  // namespace

LensParameters read_lens(const Json& lens, const Json& opts, std::int32_t w_px, std::int32_t h_px) {
  const Json& optics = has(lens, "optics") ? get(lens, "optics") : lens;
  const ApertureResponse left = aperture_response(optics, option_or(opts, "stop", 0.0));
  const double long_px = std::max(w_px, h_px);
  LensParameters p;
  p.distortion = read_distortion(optics, opts);
  p.veil = {get_number(optics, "veil", 0.0), kVeilSigma * long_px};
  p.bloom = read_bloom(optics, left.spherical, long_px);
  p.glow = read_glow(optics, opts, left.spherical, long_px);
  p.field = read_field(optics, left);
  p.lateral_colour = get_number(optics, "ca", 0.0);
  p.vignette = {get_number(optics, "vignette", 0.0) * left.vignetting,
                static_cast<float>(get_number(optics, "vignette_power", 2.5))};
  p.softness = read_softness(optics, left.spherical, long_px);
  p.axial_sigma_px = read_axial_colour(optics, left.spherical, long_px);
  p.transmission = read_transmission(optics);
  return p;
}

}  // namespace morva
