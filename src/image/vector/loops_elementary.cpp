// Compiled once for each instruction set: the formulas run over an array in place, so that the
// vectoriser need not ask whether two arrays overlap.

#include "image/vector/elementary_formulas.h"
#include "image/vector/elementary_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

namespace formula = morva::elementary::formula;

void exp_loop(float* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) values[i] = formula::expf_of(values[i]);
}

void log_loop(float* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) values[i] = formula::logf_of(values[i]);
}

void log10_loop(float* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) values[i] = formula::log10f_of(values[i]);
}

// In two loops: in one, the compiler threads the limits of the logarithm into branches and gives
// up.
void pow_loop(float* bases, std::size_t n, float exponent) {
  constexpr std::size_t kBlock = 256;
  const double wide = static_cast<double>(exponent);
  double logs[kBlock];
  for (; n > 0;) {
    const std::size_t count = n < kBlock ? n : kBlock;
    for (std::size_t i = 0; i < count; ++i) logs[i] = formula::log2_of_base(bases[i]);
    for (std::size_t i = 0; i < count; ++i) bases[i] = formula::powf_of_log2(logs[i], wide);
    bases += count;
    n -= count;
  }
}

void exp2_loop(float* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    values[i] = formula::exp2_narrow(static_cast<double>(values[i]));
}

void exp10_loop(float* values, std::size_t n) {
  const double log2_of_ten = formula::log2_of_base(10.0f);
  for (std::size_t i = 0; i < n; ++i)
    values[i] = formula::powf_of_log2(log2_of_ten, static_cast<double>(values[i]));
}

void tanh_loop(float* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) values[i] = formula::tanhf_of(values[i]);
}

constexpr ElementaryLoops kLoops = {exp_loop,  log_loop,   log10_loop, pow_loop,
                                    exp2_loop, exp10_loop, tanh_loop};

}  // namespace

const ElementaryLoops& elementary_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
