// Which instruction set the vector loops use. Every set computes the same bits; they differ in width
// alone, so the choice is a matter of speed and is made once from what the processor offers.
#pragma once

namespace morva::vector {

enum class Isa { baseline, avx2, avx512 };

Isa best_isa();    // the widest set that this processor and its operating system support
Isa active_isa();  // the one in use: the best, unless `use_isa` chose another

// For tests and benches: uses `isa`, or the best set where the processor lacks it.
void use_isa(Isa isa);

}  // namespace morva::vector
