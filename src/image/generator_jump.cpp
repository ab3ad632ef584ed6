#include "image/generator_jump.h"

#include <array>
#include <vector>

#include "image/random.h"

namespace morva {

namespace {

constexpr int kWords = 4;
constexpr int kWordBits = 64;

struct State {
  std::uint64_t word[kWords];
};

// Row i is what the state with bit i alone becomes.
using StepMatrix = std::array<State, kWords * kWordBits>;

State product(const StepMatrix& matrix, const State& state) {
  State result = {};
  const State* row = matrix.data();
  for (const std::uint64_t word : state.word)
    for (int bit = 0; bit < kWordBits; ++bit, ++row) {
      const std::uint64_t mask = 0 - (word >> bit & 1);
      for (int k = 0; k < kWords; ++k) result.word[k] ^= row->word[k] & mask;
    }
  return result;
}

StepMatrix single_step() {
  StepMatrix matrix;
  for (int i = 0; i < kWords * kWordBits; ++i) {
    Rng rng = {};
    rng.s[i / kWordBits] = std::uint64_t{1} << i % kWordBits;
    rng.next();
    for (int k = 0; k < kWords; ++k) matrix[i].word[k] = rng.s[k];
  }
  return matrix;
}

// Matrix `power` stands for 2^power steps; made once, by squaring, in a few milliseconds.
const std::vector<StepMatrix>& step_matrices() {
  static const std::vector<StepMatrix> matrices = [] {
    std::vector<StepMatrix> powers(kJumpPowers);
    powers[0] = single_step();
    for (int power = 1; power < kJumpPowers; ++power)
      for (std::size_t i = 0; i < powers[power].size(); ++i)
        powers[power][i] = product(powers[power - 1], powers[power - 1][i]);
    return powers;
  }();
  return matrices;
}

}  // namespace

void jump_power_of_two(std::uint64_t (&state)[4], int power) {
  const State moved =
      product(step_matrices()[power], State{{state[0], state[1], state[2], state[3]}});
  for (int k = 0; k < kWords; ++k) state[k] = moved.word[k];
}

void jump(std::uint64_t (&state)[4], std::uint64_t draws) {
  constexpr std::uint64_t kLongest = std::uint64_t{1} << (kJumpPowers - 1);
  for (; draws >= 2 * kLongest; draws -= kLongest) jump_power_of_two(state, kJumpPowers - 1);
  for (int power = 0; power < kJumpPowers; ++power)
    if (draws >> power & 1) jump_power_of_two(state, power);
}

}  // namespace morva
