#include "gpu/stages/resample_pass.h"

#include "gpu/stages/element_launch.h"

namespace morva::gpu {

Taps::Taps(std::int32_t outputs, std::uint32_t most)
    : room(most), n(outputs), floats(static_cast<std::size_t>(outputs) * (2 + most)) {}

void Taps::set(std::int32_t output, std::int32_t first, const double* weights, std::int32_t count) {
  const auto at = static_cast<std::size_t>(output);
  floats[2 * at] = static_cast<float>(first);
  floats[2 * at + 1] = static_cast<float>(count);
  float* to = &floats[2 * static_cast<std::size_t>(n) + at * room];
  for (std::int32_t k = 0; k < count; ++k) to[k] = static_cast<float>(weights[k]);
}

void resample(Device& device, Kernel kernel, const Plane& from, const Plane& to, const Taps& taps) {
  launch_elements(device, kernel, pixels(to),
                  {word(from.width), word(to.width), word(to.height), taps.room, word(from.stride),
                   word(from.offset), word(to.stride), word(to.offset)},
                  taps.floats, {from.buffer.get(), to.buffer.get()});
}

}  // namespace morva::gpu
