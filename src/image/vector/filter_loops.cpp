#include "image/vector/filter_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const FilterLoops& filter_loops() {
  return of_active_isa(baseline::filter_loops, avx2::filter_loops, avx512::filter_loops);
}

}  // namespace morva::vector
