#include "film/vector/grain_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const GrainLoops& grain_loops() {
  return of_active_isa(baseline::grain_loops, avx2::grain_loops, avx512::grain_loops);
}

}  // namespace morva::vector
