#include "repro/vector/doubling_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const DoublingLoops& doubling_loops() {
  return of_active_isa(baseline::doubling_loops, avx2::doubling_loops, avx512::doubling_loops);
}

}  // namespace morva::vector
