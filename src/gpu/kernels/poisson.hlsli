// Normal deviates and Poisson counts from uniforms, by inversion of their distributions.
#include "bounds.hlsli"

// sqrt(2) erfinv(2u - 1), u within 1e-7 .. 0.9999999; relative error about 5e-7 (Giles 2010, single precision).
float deviate_of(float u) {
  const float p = within(u, 1e-7, 0.9999999);
  const float off_centre = p + (p - 1.0);
  float w = -log(4.0 * (p * (1.0 - p)));
  float ratio;
  if (w < 5.0) {
    w -= 2.5;
    ratio = 2.81022636e-08;
    ratio = 3.43273939e-07 + ratio * w;
    ratio = -3.5233877e-06 + ratio * w;
    ratio = -4.39150654e-06 + ratio * w;
    ratio = 0.00021858087 + ratio * w;
    ratio = -0.00125372503 + ratio * w;
    ratio = -0.00417768164 + ratio * w;
    ratio = 0.246640727 + ratio * w;
    ratio = 1.50140941 + ratio * w;
  } else {
    w = sqrt(w) - 3.0;
    ratio = -0.000200214257;
    ratio = 0.000100950558 + ratio * w;
    ratio = 0.00134934322 + ratio * w;
    ratio = -0.00367342844 + ratio * w;
    ratio = 0.00573950773 + ratio * w;
    ratio = -0.0076224613 + ratio * w;
    ratio = 0.00943887047 + ratio * w;
    ratio = 1.00167406 + ratio * w;
    ratio = 2.83297682 + ratio * w;
  }
  return 1.41421356 * off_centre * ratio;
}

// From a rate of 8 on the normal approximation to the nearest whole number; below it how many of the first 20
// terms of the distribution function lie under u.
float poisson_count(float u, float rate) {
  if (rate >= 8.0) return at_least(round(rate + deviate_of(u) * sqrt(rate)), 0.0);
  const float x = at_least(rate, 1e-9);
  float term = exp(-x);
  float sum = term;
  uint count = 0;
  while (count < 20 && sum < u) {
    ++count;
    term = term * x / float(count);
    sum += term;
  }
  return float(count);
}
