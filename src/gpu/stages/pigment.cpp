#include "gpu/stages/pigment.h"

#include "gpu/kernels/process_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/plane.h"

namespace morva::gpu {

GImage colour_of_ink(Device& device, const GImage& ink, const PigmentBlock& pigment,
                     const std::array<float, 3>& paper) {
  std::vector<float> table(pigment_layout::kNumbers);
  put(&table[pigment_layout::kPaper], paper);
  put(&table[pigment_layout::kPigment], pigment.opaque ? pigment.rgb : pigment.density);
  table[pigment_layout::kOpacity] = static_cast<float>(pigment.opacity);
  GImage print = device.image(ink.height, ink.width, 3);
  launch_elements(device, Kernel::alt_colorize, pixels(ink),
                  {word(pixels(ink)), pigment.opaque ? 1u : 0u}, table,
                  {ink.buffer.get(), print.buffer.get()});
  return print;
}

}  // namespace morva::gpu
