// Which instruction set the vector loops use. Every set computes the same bits; they differ in
// width alone, so the choice is a matter of speed and is made once from what the processor offers.
#pragma once

namespace morva::vector {

enum class Isa { baseline, avx2, avx512 };

Isa best_isa();    // the widest set that this processor and its operating system support
Isa active_isa();  // the one in use: the best, unless `use_isa` chose another

// For tests and benches: uses `isa`, or the best set where the processor lacks it.
void use_isa(Isa isa);

// Of three functions that give a table of loops, the result of the one for the set in use. They are
// taken as functions because even a trivial one may hold instructions that this processor lacks.
template <class Loops>
const Loops& of_active_isa(const Loops& (*baseline)(), const Loops& (*avx2)(),
                           const Loops& (*avx512)()) {
  const Isa isa = active_isa();
  return isa == Isa::avx512 ? avx512() : isa == Isa::avx2 ? avx2() : baseline();
}

}  // namespace morva::vector
