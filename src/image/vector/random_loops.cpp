#include "image/vector/random_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const RandomLoops& random_loops() {
  return of_active_isa(baseline::random_loops, avx2::random_loops, avx512::random_loops);
}

}  // namespace morva::vector
