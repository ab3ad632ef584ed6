#include "image/vector/wide_gaussian_loops.h"

#include "image/vector/isa.h"

namespace morva::vector {

const WideGaussianLoops& wide_gaussian_loops() {
  return of_active_isa(baseline::wide_gaussian_loops, avx2::wide_gaussian_loops,
                       avx512::wide_gaussian_loops);
}

}  // namespace morva::vector
