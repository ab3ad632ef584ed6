#include "image/generator_jump.h"

#include <vector>

#include "image/random.h"

namespace morva {

namespace {

constexpr int kWordBits = 64;

GeneratorState product(const StepMatrix& matrix, const GeneratorState& state) {
  GeneratorState result = {};
  const GeneratorState* row = matrix.data();
  for (const std::uint64_t word : state)
    for (int bit = 0; bit < kWordBits; ++bit, ++row) {
      const std::uint64_t mask = 0 - (word >> bit & 1);
      for (std::size_t k = 0; k < result.size(); ++k) result[k] ^= (*row)[k] & mask;
    }
  return result;
}

StepMatrix product(const StepMatrix& matrix, const StepMatrix& states) {
  StepMatrix result;
  for (std::size_t i = 0; i < states.size(); ++i) result[i] = product(matrix, states[i]);
  return result;
}

StepMatrix no_steps() {
  StepMatrix matrix = {};
  for (std::size_t i = 0; i < matrix.size(); ++i)
    matrix[i][i / kWordBits] = std::uint64_t{1} << i % kWordBits;
  return matrix;
}

StepMatrix single_step() {
  StepMatrix matrix = no_steps();
  for (GeneratorState& state : matrix) {
    Rng rng = {{state[0], state[1], state[2], state[3]}};
    rng.next();
    for (std::size_t k = 0; k < state.size(); ++k) state[k] = rng.s[k];
  }
  return matrix;
}

// Matrix `power` stands for 2^power steps; made once, by squaring, in a few milliseconds.
const std::vector<StepMatrix>& step_matrices() {
  static const std::vector<StepMatrix> matrices = [] {
    std::vector<StepMatrix> powers(kJumpPowers);
    powers[0] = single_step();
    for (std::size_t power = 1; power < powers.size(); ++power)
      powers[power] = product(powers[power - 1], powers[power - 1]);
    return powers;
  }();
  return matrices;
}

}  // namespace

void jump(std::uint64_t (&state)[4], const StepMatrix& matrix) {
  const GeneratorState moved =
      product(matrix, GeneratorState{state[0], state[1], state[2], state[3]});
  for (std::size_t k = 0; k < moved.size(); ++k) state[k] = moved[k];
}

void jump_power_of_two(std::uint64_t (&state)[4], int power) {
  jump(state, step_matrices()[static_cast<std::size_t>(power)]);
}

StepMatrix jump_matrix(std::uint64_t draws) {
  StepMatrix matrix = no_steps();
  for (int power = 0; power < kJumpPowers; ++power)
    if (draws >> power & 1)
      matrix = product(step_matrices()[static_cast<std::size_t>(power)], matrix);
  return matrix;
}

void jump(std::uint64_t (&state)[4], std::uint64_t draws) {
  constexpr std::uint64_t kLongest = std::uint64_t{1} << (kJumpPowers - 1);
  for (; draws >= 2 * kLongest; draws -= kLongest) jump_power_of_two(state, kJumpPowers - 1);
  for (int power = 0; power < kJumpPowers; ++power)
    if (draws >> power & 1) jump_power_of_two(state, power);
}

}  // namespace morva
