#include "image/vector/ray_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const RayLoops& ray_loops() {
  switch (active_isa()) {
    case Isa::avx512:
      return avx512::ray_loops();
    case Isa::avx2:
      return avx2::ray_loops();
    case Isa::baseline:
      break;
  }
  return baseline::ray_loops();
}

}  // namespace morva::vector
