// The elementary functions over arrays, compiled once for each instruction set. All work in place.
#pragma once

#include <cstddef>

namespace morva::vector {

struct ElementaryLoops {
  void (*exp)(float* values, std::size_t n);
  void (*log)(float* values, std::size_t n);
  void (*log10)(float* values, std::size_t n);
  void (*pow)(float* bases, std::size_t n, float exponent);
  void (*exp2)(float* values, std::size_t n);
  void (*exp10)(float* values, std::size_t n);
  void (*tanh)(float* values, std::size_t n);
};

// The table of the instruction set in use.
const ElementaryLoops& elementary_loops();

namespace baseline {
const ElementaryLoops& elementary_loops();
}
namespace avx2 {
const ElementaryLoops& elementary_loops();
}
namespace avx512 {
const ElementaryLoops& elementary_loops();
}

}  // namespace morva::vector
