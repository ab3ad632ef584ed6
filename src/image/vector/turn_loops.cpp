#include "image/vector/turn_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const TurnLoops& turn_loops() {
  return of_active_isa(baseline::turn_loops, avx2::turn_loops, avx512::turn_loops);
}

}  // namespace morva::vector
