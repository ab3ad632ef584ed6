#include "image/vector/random_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const RandomLoops& random_loops() {
  switch (active_isa()) {
    case Isa::avx512:
      return avx512::random_loops();
    case Isa::avx2:
      return avx2::random_loops();
    case Isa::baseline:
      break;
  }
  return baseline::random_loops();
}

}  // namespace morva::vector
