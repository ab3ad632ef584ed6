#include "gpu/stages/counter_noise.h"

#include <cstddef>
#include <utility>

#include "gpu/stages/element_launch.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

std::vector<std::uint32_t> with_draws(std::vector<std::uint32_t> constants,
                                      const CounterDraws& draws) {
  constexpr std::size_t kKeyWord = 12;
  constants.resize(kKeyWord);
  constants.push_back(static_cast<std::uint32_t>(draws.hash));
  constants.push_back(static_cast<std::uint32_t>(draws.hash >> 32));
  constants.push_back(draws.tag);
  return constants;
}

GImage normal_rows(Device& device, const CounterDraws& draws, std::uint32_t first,
                   std::int32_t rows, std::int32_t width) {
  GImage normals = device.image(rows, width, 1);
  launch_elements(device, Kernel::grain_normals, pixels(normals),
                  with_draws({word(rows), word(width), first}, draws), {}, {normals.buffer.get()});
  return normals;
}

}  // namespace morva::gpu
