#include "repro/vector/separation_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const SeparationLoops& separation_loops() {
  return of_active_isa(baseline::separation_loops, avx2::separation_loops,
                       avx512::separation_loops);
}

}  // namespace morva::vector
