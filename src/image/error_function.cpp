#include "image/error_function.h"

#include <cmath>

#include "image/elementary.h"

namespace morva::elementary {

namespace {

// Cody, "Rational Chebyshev approximations for the error function", Math. Comp. 23 (1969).
constexpr double kNearLimit = 0.46875;
constexpr double kMiddleLimit = 4.0;
constexpr double kFarLimit = 26.6;  // erfc is below the least normal number from here on
constexpr double kInvSqrtPi = 0.56418958354775628695;

// erf(x), |x| <= kNearLimit.
double erf_near(double x) {
  constexpr double a[5] = {3.16112374387056560e00, 1.13864154151050156e02, 3.77485237685302021e02,
                           3.20937758913846947e03, 1.85777706184603153e-1};
  constexpr double b[4] = {2.36012909523441209e01, 2.44024637934444173e02, 1.28261652607737228e03,
                           2.84423683343917062e03};
  const double z = x * x;
  double numerator = a[4] * z;
  double denominator = z;
  for (int i = 0; i < 3; ++i) {
    numerator = (numerator + a[i]) * z;
    denominator = (denominator + b[i]) * z;
  }
  return x * (numerator + a[3]) / (denominator + b[3]);
}

// exp(y^2) erfc(y), kNearLimit < y <= kMiddleLimit.
double scaled_middle(double y) {
  constexpr double c[9] = {5.64188496988670089e-1, 8.88314979438837594e0,  6.61191906371416295e01,
                           2.98635138197400131e02, 8.81952221241769090e02, 1.71204761263407058e03,
                           2.05107837782607147e03, 1.23033935479799725e03, 2.15311535474403846e-8};
  constexpr double d[8] = {1.57449261107098347e01, 1.17693950891312499e02, 5.37181101862009858e02,
                           1.62138957456669019e03, 3.29079923573345963e03, 4.36261909014324716e03,
                           3.43936767414372164e03, 1.23033935480374942e03};
  double numerator = c[8] * y;
  double denominator = y;
  for (int i = 0; i < 7; ++i) {
    numerator = (numerator + c[i]) * y;
    denominator = (denominator + d[i]) * y;
  }
  return (numerator + c[7]) / (denominator + d[7]);
}

// The same for y > kMiddleLimit.
double scaled_far(double y) {
  constexpr double p[6] = {3.05326634961232344e-1, 3.60344899949804439e-1, 1.25781726111229246e-1,
                           1.60837851487422766e-2, 6.58749161529837803e-4, 1.63153871373020978e-2};
  constexpr double q[5] = {2.56852019228982242e00, 1.87295284992346725e00, 5.27905102951428412e-1,
                           6.05183413124413191e-2, 2.33520497626869185e-3};
  const double z = 1.0 / (y * y);
  double numerator = p[5] * z;
  double denominator = z;
  for (int i = 0; i < 4; ++i) {
    numerator = (numerator + p[i]) * z;
    denominator = (denominator + q[i]) * z;
  }
  const double tail = z * (numerator + p[4]) / (denominator + q[4]);
  return (kInvSqrtPi - tail) / y;
}

// exp(-y^2), the square taken in two parts so that its rounding does not grow.
double bell(double y) {
  const double high = std::trunc(y * 16.0) / 16.0;
  const double low = (y - high) * (y + high);
  return exp(-high * high) * exp(-low);
}

double erfc_positive(double y) {
  if (y > kFarLimit) return 0.0;
  return bell(y) * (y <= kMiddleLimit ? scaled_middle(y) : scaled_far(y));
}

}  // namespace

double erf(double x) {
  const double y = std::fabs(x);
  if (!(y > kNearLimit)) return erf_near(x);
  const double value = (0.5 - erfc_positive(y)) + 0.5;
  return x < 0.0 ? -value : value;
}

double erfc(double x) {
  const double y = std::fabs(x);
  if (!(y > kNearLimit)) return 1.0 - erf_near(x);
  return x < 0.0 ? 2.0 - erfc_positive(y) : erfc_positive(y);
}

}  // namespace morva::elementary
