#include "image/vector/elementary_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const ElementaryLoops& elementary_loops() {
  return of_active_isa(baseline::elementary_loops, avx2::elementary_loops,
                       avx512::elementary_loops);
}

}  // namespace morva::vector
