#include "image/vector/elementary_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const ElementaryLoops& elementary_loops() {
  switch (active_isa()) {
    case Isa::avx512:
      return avx512::elementary_loops();
    case Isa::avx2:
      return avx2::elementary_loops();
    case Isa::baseline:
      break;
  }
  return baseline::elementary_loops();
}

}  // namespace morva::vector
