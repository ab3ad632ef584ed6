// How many groups a kernel is launched with, and how a launch that would run too long is cut.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gpu/kernel_table.h"

namespace morva::gpu {

inline constexpr std::uint32_t kGroupThreads = 256;
inline constexpr std::uint32_t kMostGroups = 65535;  // along one axis

struct LaunchGrid {
  std::uint32_t groups_x = 1;
  std::uint32_t groups_y = 0;
  std::uint32_t row_threads = kGroupThreads;  // threads in one row of groups
};

// The launch for `threads` threads; no rows at all for 0.
LaunchGrid grid(std::uint64_t threads);

// A launch laid out anew in rows of `width` groups, `step` rows at a time.
struct LaunchBands {
  std::uint32_t width = 1;
  std::uint64_t rows = 0;
  std::uint64_t step = 1;
};

// Whether a launch may be laid out anew: its threads find themselves by one linear number, and
// there is a constant left to tell them the width of a row.
bool can_band(Kernel kernel, std::size_t constants);

// Bands of about `limit_ms` each for a launch estimated at `estimate_ms`, both above 0.
LaunchBands cut_into_bands(std::uint32_t groups_x, std::uint32_t groups_y, double estimate_ms,
                           double limit_ms);

}  // namespace morva::gpu
