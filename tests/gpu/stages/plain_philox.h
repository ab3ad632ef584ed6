// Philox 4x32-10 and what the kernels make of its words, in plain C++.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "gpu/stages/counter_noise.h"

namespace morva::gpu::plain {

using Words = std::array<std::uint32_t, 4>;

inline Words philox(Words counter, std::array<std::uint32_t, 2> key) {
  for (int round = 0; round < 10; ++round) {
    const std::uint64_t first = std::uint64_t{0xD2511F53u} * counter[0];
    const std::uint64_t second = std::uint64_t{0xCD9E8D57u} * counter[2];
    counter = {static_cast<std::uint32_t>(second >> 32) ^ counter[1] ^ key[0],
               static_cast<std::uint32_t>(second),
               static_cast<std::uint32_t>(first >> 32) ^ counter[3] ^ key[1],
               static_cast<std::uint32_t>(first)};
    key[0] += 0x9E3779B9u;
    key[1] += 0xBB67AE85u;
  }
  return counter;
}

inline Words words_of(const CounterDraws& draws, std::uint64_t number) {
  return philox(
      {static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(number >> 32), draws.tag, 0},
      {static_cast<std::uint32_t>(draws.hash), static_cast<std::uint32_t>(draws.hash >> 32)});
}

inline float uniform(const CounterDraws& draws, std::uint64_t number) {
  return static_cast<float>(words_of(draws, number)[0] >> 8) * 0x1p-24f;
}

inline float normal_of(const Words& words) {
  const double u0 = (words[0] >> 8) * 0x1p-24, u1 = ((words[1] >> 8) + 1) * 0x1p-24;
  return static_cast<float>(std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * std::numbers::pi * u0));
}

}  // namespace morva::gpu::plain
