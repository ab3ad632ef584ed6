#include "profiles/hd_curve.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "image/elementary.h"
#include "image/errors.h"

namespace morva {

namespace {

constexpr double kSteepestArgument = 60.0;  // exp stays finite in single precision
constexpr std::size_t kChunk = 2048;  // floats that pass through the first-level cache together

// `number_name` is what a message calls a value that is not a number.
double required(const Json& record, const char* key, const char* name,
                const std::string& number_name) {
  if (!has(record, key)) throw ProfileError(std::string(name) + ": нет ключа «" + key + "»");
  return as_number(get(record, key), number_name);
}

double required(const Json& record, const char* key, const char* name) {
  return required(record, key, name, key);
}

HdCurve curve_from_record(const Json& record, const char* name, double toe, double mid) {
  const double gamma = required(record, "gamma", name);
  const double dmax = required(record, "dmax", name);
  const double dmin = required(record, "dmin", name);
  return make_curve(dmin, dmax, gamma, get_number(record, "toe", toe), mid);
}

}  // namespace

HdCurve make_curve(double dmin, double dmax, double gamma, double toe, double mid) {
  HdCurve curve;
  curve.dmin = dmin;
  curve.dmax = dmax;
  curve.toe = toe;
  curve.mid = mid;
  const double range = dmax - dmin;
  const double c = std::clamp(mid / range, 0.0001, 0.999);
  const double p = elementary::pow(c, toe);
  curve.k = gamma * toe / (c * range * (1.0 - p));
  curve.x0 = elementary::log(1.0 / p - 1.0) / curve.k;
  curve.dmid = dmin + mid;
  return curve;
}

double HdCurve::density(double x) const {
  const double s = std::clamp((x - x0) * k, -kSteepestArgument, kSteepestArgument);
  const double share = elementary::pow(1.0 / (1.0 + elementary::exp(-s)), 1.0 / toe);
  return dmin + (dmax - dmin) * share;
}

void HdCurve::density(const float* x, float* out, std::size_t n) const {
  const float centre = static_cast<float>(x0);
  const float steepness = static_cast<float>(k);
  const float base = static_cast<float>(dmin);
  const float range = static_cast<float>(dmax) - static_cast<float>(dmin);
  const float exponent = static_cast<float>(1.0 / toe);
  constexpr float limit = static_cast<float>(kSteepestArgument);
  for (std::size_t start = 0; start < n; start += kChunk) {
    const std::size_t count = std::min(kChunk, n - start);
    float* d = out + start;
    for (std::size_t i = 0; i < count; ++i)
      d[i] = -std::clamp((x[start + i] - centre) * steepness, -limit, limit);
    elementary::expf(d, d, count);
    for (std::size_t i = 0; i < count; ++i) d[i] = 1.0f / (1.0f + d[i]);
    elementary::powf(d, exponent, d, count);
    for (std::size_t i = 0; i < count; ++i) d[i] = base + range * d[i];
  }
}

HdCurve layer_curve(const Json& record) {
  return curve_from_record(record, "layer", 1.5, get_number(record, "mid_density", 0.85));
}

HdCurve negative_curve(const Json& record) {
  return curve_from_record(record, "negative", 1.6, get_number(record, "mid_density", 0.95));
}

HdCurve negative_curve_with_dmax(const Json& record, double dmax) {
  const double gamma = required(record, "gamma", "negative", "negative.gamma");
  const double dmin = required(record, "dmin", "negative", "negative.dmin");
  return make_curve(dmin, dmax, gamma, get_number(record, "toe", 1.6),
                    get_number(record, "mid_density", 0.95));
}

HdCurve slide_curve(const Json& record) {
  return curve_from_record(record, "layer", 1.2, get_number(record, "mid_density", kGreyDensity));
}

HdCurve instant_curve(const Json& record) {
  return curve_from_record(record, "layer", 1.4, kGreyDensity);
}

void apply_curve_factors(Json& record, double gamma_factor, double dmax_factor, double fog,
                         double mid_factor, const char* name) {
  const double gamma = required(record, "gamma", name);
  const double dmax = required(record, "dmax", name);
  const double dmin = required(record, "dmin", name);
  const double scaled_dmax = (dmax - dmin) * dmax_factor + dmin;
  record["gamma"] = gamma * gamma_factor;
  record["dmin"] = dmin + fog;
  record["dmax"] = scaled_dmax + fog;
  if (std::fabs(mid_factor - 1.0) > 1e-9 && !get(record, "mid_density").is_null()) {
    const double range = (scaled_dmax + fog) - (dmin + fog);
    record["mid_density"] =
        std::min(as_number(record["mid_density"], "mid_density") * mid_factor, range * 0.92);
  }
}

}  // namespace morva
