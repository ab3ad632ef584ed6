// Elementary functions with the same bits on every x86-64 machine. A C library picks its own code
// by the processor it finds, so a picture made with it could differ from one machine to the next;
// these are one implementation in plain double arithmetic, without contraction: double results lie
// within 1 ulp of the true value (2 for pow and atan2), float results within 0.51 ulp. NaN gives
// NaN but for pow(x, 0) and pow(1, y), which are 1.
#pragma once

#include <cstddef>

namespace morva::elementary {

double exp(double x);
double log(double x);  // natural; -inf at 0, NaN below
double log10(double x);
// IEEE results for 0 and infinities, with -0 taken as 0; NaN for a base below 0.
double pow(double base, double exponent);
double sin(double radians);
double cos(double radians);
double tan(double radians);
double atan(double x);
double atan2(double y, double x);  // -pi..pi; IEEE results for 0 and infinities
double tanh(double x);

// The float forms: series good to 2^-40 in double, rounded once.
float expf(float x);
float logf(float x);
float log10f(float x);
float powf(float base, float exponent);
float tanhf(float x);

// The same over n floats, in vector code; `in` and `out` may be the same array. Each element has
// the bits of the single form above.
void expf(const float* in, float* out, std::size_t n);
void logf(const float* in, float* out, std::size_t n);
void log10f(const float* in, float* out, std::size_t n);
void powf(const float* base, float exponent, float* out, std::size_t n);
void exp2f(const float* in, float* out, std::size_t n);   // powf(2, in)
void exp10f(const float* in, float* out, std::size_t n);  // powf(10, in)
void tanhf(const float* in, float* out, std::size_t n);

}  // namespace morva::elementary
