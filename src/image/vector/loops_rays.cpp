// Compiled once for each instruction set: light of four neighbours thrown along one row of taps.

#include "image/vector/ray_loops.h"

namespace morva::vector::MORVA_ISA {

namespace {

void throw_light(const double* __restrict taps, std::size_t n, const double* __restrict light,
                 double* __restrict sums) {
  const double light0 = light[0], light1 = light[1], light2 = light[2], light3 = light[3];
  for (std::size_t i = 0; i < n; ++i)
    sums[i] = (((sums[i] + taps[i + 3] * light0) + taps[i + 2] * light1) + taps[i + 1] * light2) +
              taps[i] * light3;
}

constexpr RayLoops kLoops = {throw_light};

}  // namespace

const RayLoops& ray_loops() {
  return kLoops;
}

}  // namespace morva::vector::MORVA_ISA
