// The error function and its complement, with the same bits on every machine.
#pragma once

namespace morva::elementary {

// Rational approximations of Cody (1969), relative error below 1e-15.
double erf(double x);
double erfc(double x);

}  // namespace morva::elementary
