// Random numbers on the GPU, by counter: number i of a key and a tag is the first words of Philox
// 4x32-10 for the counter (i, tag, 0), i in 64 bits. Where a raster is drawn in parts its numbers
// do not depend on them.
#pragma once

#include <cstdint>
#include <vector>

#include "gpu/device.h"
#include "image/random.h"

namespace morva::gpu {

// What keeps the draws under one key apart.
inline constexpr std::uint32_t kClassicTag = 100;  // the first layer's; each further one counts up
inline constexpr std::uint32_t kRateTag = 200;     // growing grain: the field of its rate,
inline constexpr std::uint32_t kCountTag = 201;    // its counts,
inline constexpr std::uint32_t kMomentTag = 202;   // and its pixels by their moments

struct CounterDraws {
  std::uint64_t hash = 0;  // hash_key of the stage's key
  std::uint32_t tag = 0;
};

// The constants of a kernel that draws: its own, at most twelve, and then the key and the tag.
std::vector<std::uint32_t> with_draws(std::vector<std::uint32_t> constants,
                                      const CounterDraws& draws);

// Standard normals: rows first .. first + rows - 1 of an endless sheet of that width.
GImage normal_rows(Device& device, const CounterDraws& draws, std::uint32_t first,
                   std::int32_t rows, std::int32_t width);

}  // namespace morva::gpu
