#include "gpu/launch_shape.h"

#include <algorithm>
#include <cmath>

#include "gpu/platform/recording.h"

namespace morva::gpu {

LaunchGrid grid(std::uint64_t threads) {
  const auto groups = static_cast<std::uint32_t>((threads + (kGroupThreads - 1)) / kGroupThreads);
  LaunchGrid shape;
  shape.groups_x = std::clamp(groups, 1u, kMostGroups);
  shape.groups_y =
      static_cast<std::uint32_t>((std::uint64_t{groups} + shape.groups_x - 1) / shape.groups_x);
  shape.row_threads = shape.groups_x * kGroupThreads;
  return shape;
}

bool can_band(Kernel kernel, std::size_t constants) {
  // These read the group's number as rows or tiles.
  const bool two_dimensional = kernel == Kernel::gauss_row || kernel == Kernel::gauss_col_tile ||
                               kernel == Kernel::rowsum || kernel == Kernel::view_pack;
  return !two_dimensional && constants < platform::kConstantWords;
}

LaunchBands cut_into_bands(std::uint32_t groups_x, std::uint32_t groups_y, double estimate_ms,
                           double limit_ms) {
  const double parts = std::ceil(estimate_ms / limit_ms);
  const std::uint64_t total = std::uint64_t{groups_x} * groups_y;
  LaunchBands bands;
  bands.width = static_cast<std::uint32_t>(
      std::clamp(std::ceil(static_cast<double>(total) / parts), 1.0, double{kMostGroups}));
  bands.rows = (total + bands.width - 1) / bands.width;
  bands.step =
      static_cast<std::uint64_t>(std::max(1.0, std::ceil(static_cast<double>(bands.rows) / parts)));
  return bands;
}

}  // namespace morva::gpu
