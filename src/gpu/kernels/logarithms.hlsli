// Logarithms and powers of ten, by the base of two that the hardware has.

float log10_of(float x) { return log2(x) * 0.30103001; }

float ten_to(float x) { return exp2(x * 3.32192802); }

// For x of 0 and above; 0 stays 0.
float power(float x, float exponent) { return x > 0.0 ? exp2(log2(x) * exponent) : 0.0; }
