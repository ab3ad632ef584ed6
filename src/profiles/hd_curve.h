// The H&D curve of a film layer or a paper: a generalised logistic in log10 exposure, anchored at a
// mid grey. At x = 0 it has density dmin + mid with slope `gamma`; `toe` is the logistic's
// asymmetry.
#pragma once

#include <cstddef>

#include "profiles/json_access.h"

namespace morva {

// Density that transmits or reflects 0.18, log10(1 / 0.18), and one stop in log10 exposure.
inline constexpr double kGreyDensity = 0.744727494896694;
inline constexpr double kLog10Stop = 0.3010299956639812;

struct HdCurve {
  double dmin = 0.0;  // base plus fog
  double dmax = 0.0;
  double toe = 0.0;
  double mid = 0.0;           // density above dmin that a mid grey takes
  double k = 0.0;             // steepness of the logistic, per log10 exposure
  double x0 = 0.0;            // its centre, log10 exposure
  double dmid = 0.0;          // dmin + mid
  double shoulder_cut = 0.0;  // a paper's softened black and lifted white; zero on film
  double toe_lift = 0.0;

  // Density for log10 exposure `x` relative to a mid grey.
  double density(double x) const;
  // The per-pixel form, in single precision throughout; `x` and `out` may be the same array.
  void density(const float* x, float* out, std::size_t n) const;
};

// `gamma` is the slope at the anchor.
HdCurve make_curve(double dmin, double dmax, double gamma, double toe, double mid);

// Curves from a profile's record. A missing `gamma`, `dmax` or `dmin` throws ProfileError.
HdCurve layer_curve(const Json& record);
HdCurve negative_curve(const Json& record);
HdCurve negative_curve_with_dmax(const Json& record, double dmax);
HdCurve slide_curve(const Json& record);
HdCurve instant_curve(const Json& record);

// Edits a curve record in place: its slope and its range by factors, its fog by addition, its
// anchor density by a factor that stops short of the shoulder. `name` stands in messages.
void apply_curve_factors(Json& record, double gamma_factor, double dmax_factor, double fog,
                         double mid_factor, const char* name);

}  // namespace morva
