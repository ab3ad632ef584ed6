#include "image/vector/filter_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const FilterLoops& filter_loops() {
  switch (active_isa()) {
    case Isa::avx512:
      return avx512::filter_loops();
    case Isa::avx2:
      return avx2::filter_loops();
    case Isa::baseline:
      break;
  }
  return baseline::filter_loops();
}

}  // namespace morva::vector
