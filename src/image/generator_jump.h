// Jumps along the sequence of xoshiro256**. A step of the generator is linear over its 256 bits, so
// any number of steps is a product of 256 x 256 matrices of bits, and a jump costs a few hundred
// exclusive-ors a power of two however far it goes.
#pragma once

#include <array>
#include <cstdint>

namespace morva {

inline constexpr int kJumpPowers = 40;

// The 256 bits of a generator, and what becomes of each bit alone.
using GeneratorState = std::array<std::uint64_t, 4>;
using StepMatrix = std::array<GeneratorState, 256>;

// Moves the state on by 2^power draws, 0 <= power < kJumpPowers.
void jump_power_of_two(std::uint64_t (&state)[4], int power);

// Moves it on by any number of draws.
void jump(std::uint64_t (&state)[4], std::uint64_t draws);

// A jump that is made many times: the matrix of less than 2^kJumpPowers draws.
StepMatrix jump_matrix(std::uint64_t draws);
void jump(std::uint64_t (&state)[4], const StepMatrix& matrix);

}  // namespace morva
