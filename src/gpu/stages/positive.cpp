#include "gpu/stages/positive.h"

#include <vector>

#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

namespace {

GImage show(Device& device, Kernel kernel, const GImage& density, float clear,
            const std::array<float, 3>& tone, const LookParams& look) {
  using namespace positive_layout;
  std::vector<float> table(kNumbers);
  table[kClear] = clear;
  put(&table[kTone], tone);
  put_look(&table[kLook], look);
  GImage positive = device.image(density.height, density.width, 3);
  launch_elements(device, kernel, pixels(density), {word(pixels(density))}, table,
                  {density.buffer.get(), positive.buffer.get()});
  return positive;
}

}  // namespace

GImage show_dyes(Device& device, const GImage& density, float clear, const LookParams& look) {
  return show(device, Kernel::positive_look, density, clear, {1.0f, 1.0f, 1.0f}, look);
}

GImage show_silver(Device& device, const GImage& density, float clear,
                   const std::array<float, 3>& tone, const LookParams& look) {
  return show(device, Kernel::mono_positive, density, clear, tone, look);
}

}  // namespace morva::gpu
