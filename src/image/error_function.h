// The error function and its complement, with the same bits on every machine.
#pragma once

namespace morva::elementary {

// Rational approximations of Cody (1969), relative error about 1e-16.
double erf(double x);
double erfc(double x);

}  // namespace morva::elementary
